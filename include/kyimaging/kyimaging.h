/*
 * kyimaging: image records, pixel access, image files and the trace log.
 *
 * Knows nothing of focus. Every image of kyfocus is a KyiImageData made and freed here. The header compiles as C11 and
 * as C++20; no call throws.
 */
#ifndef KYIMAGING_KYIMAGING_H
#define KYIMAGING_KYIMAGING_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define KYI_API __declspec(dllexport)
#else
#define KYI_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Truth value of the interface: zero is false, everything else is true. */
typedef int32_t KyiBool;

/** A point, in pixels or in percent of an image as the holder says. */
typedef struct KyPoint {
    int32_t x;
    int32_t y;
} KyPoint;

/**
 * One image. Made by the library, freed with KyiFreeImageData, never allocated by a caller.
 *
 * Memory: lines of LineBytes bytes (Width * PixelBytes, rounded up to a multiple of 4) lie bottom-up, so that image
 * row y is memory line Height - 1 - y. Calls take image coordinates, row 0 at the top. A colour pixel of s samples
 * stores channel c (0 red, 1 green, 2 blue) as sample s - 1 - c: blue, green, red for three samples and
 * unused, blue, green, red for four. `Pixels` is aligned to 64 bytes.
 */
typedef struct KyiImageData {
    int32_t Width;      /**< pixels per line */
    int32_t Height;     /**< lines */
    int32_t LineBytes;  /**< distance in bytes between two lines of the block */
    int32_t PixelBytes; /**< 1: 8-bit gray, 2: 16-bit gray, 3 or 4: 8-bit colour, 6: 16-bit colour */
    int32_t Origin; /**< line order attribute, carried along and compared; the block is bottom-up whatever it says */
    int32_t Format; /**< pixel format word, one of the KyiFormat... values */
    void* Pixels;   /**< the pixel block */
    void* Palette;  /**< palette object, handed only to KyiCopyPalette */
} KyiImageData;

/** Pixel format words. */
enum {
    KyiFormatGray8 = 3,
    KyiFormatBgr24 = 4,
    KyiFormatGray16 = 5,
    KyiFormatBgr48 = 7,
    KyiFormatBgr32 = 100,      /**< 8-bit colour in four bytes */
    KyiFormatBgr24Other = 101, /**< 8-bit colour in three bytes */
    KyiFormatBgr48Other = 104,
    KyiFormatGray8Alternate = 200,
    KyiFormatBgr24Alternate = 201,
    KyiFormatGray16Alternate = 202,
    KyiFormatBgr48Alternate = 203,
    KyiFormatBgr32Alternate = 204, /**< 8-bit colour in four bytes */
    KyiFormatBgr48Second = 205
};

/* ---- life of a record ---------------------------------------------------------------------------------------- */

/** A new image of `width` x `height` pixels with Origin 0. The pixels are not cleared.
 *  @return null when out of memory, for a size below 1, a block above 2^31 - 1 lines' bytes, or an unknown word. */
KYI_API KyiImageData* KyiAllocImageData(int32_t width, int32_t height, int32_t format);

/** As KyiAllocImageData with the given Origin. `reserved` is 0. */
KYI_API KyiImageData* KyiAllocImageDataEx(int32_t width, int32_t height, int32_t format, int32_t origin,
                                          int32_t reserved);

/** A new 8-bit one-channel image (format 3), not cleared; null when out of memory. */
KYI_API KyiImageData* KyiAllocMaskImageData(int32_t width, int32_t height);

/** Frees the record, its pixels and its palette. Null does nothing. */
KYI_API void KyiFreeImageData(KyiImageData* image);

/** A new image with the same size, format, origin, palette and pixels; null when out of memory.
 *  `parallel` allows threads and does not change the result, here and below. */
KYI_API KyiImageData* KyiDuplicateImageData(const KyiImageData* image, KyiBool parallel);

/** Copies the pixels into an image of the same size and format. A destination that differs is left as it was. */
KYI_API void KyiCopyImageData(const KyiImageData* source, KyiImageData* destination, int32_t reserved,
                              KyiBool parallel);

/** Copies one palette object into another. Null on either side does nothing. */
KYI_API void KyiCopyPalette(const void* source, void* destination);

/** Copies the block of source at column rect[0], row rect[1], rect[2] + 1 wide and rect[3] + 1 high, to the top left of
 *  destination. Pixels outside the source repeat its edge; pixels outside the destination are dropped. The two
 *  images have one format. */
KYI_API void KyiClipImage(const KyiImageData* source, KyiImageData* destination, const int32_t rect[4]);

/** Copies the whole source into destination with its top left corner at (x, y); what falls outside is dropped. */
KYI_API void KyiPasteImageData(const KyiImageData* source, KyiImageData* destination, int32_t x, int32_t y,
                               KyiBool parallel);

/** Sets every sample to `value` (its low 8 or 16 bits). The reserved arguments are 0. */
KYI_API void KyiFill(KyiImageData* image, int32_t value, int32_t reserved1, int32_t reserved2);

/** Gray of a colour image into a gray image of the same size and sample width:
 *  (299 R + 587 G + 114 B + 500) / 1000 in integers. Misfit images leave the destination as it was. */
KYI_API void KyiTransformToGray(const KyiImageData* source, KyiImageData* destination, int32_t reserved);

/* ---- pixel access: no allocation, no lock; safe from several threads on distinct pixels ------------------------ */

/** Address of the first byte of pixel (x, y), which must lie inside the image. */
KYI_API void* KyiGetPixelAddress(const KyiImageData* image, int32_t x, int32_t y);

/** Reads a one-channel pixel. Coordinates outside the image are clamped, each on its own, in all reads. */
KYI_API void KyiGetPixelData(const KyiImageData* image, int32_t x, int32_t y, int32_t* value);
/** Writes the low bits of a one-channel pixel. Writes outside the image are dropped, in all writes. */
KYI_API void KyiSetPixelData(KyiImageData* image, int32_t x, int32_t y, int32_t value);
/** Reads channels 0, 1, 2 (red, green, blue) of a colour pixel. */
KYI_API void KyiGetPixelDataRGB(const KyiImageData* image, int32_t x, int32_t y, int32_t values[3]);
/** Writes channels 0, 1, 2 of a colour pixel. The unused sample of a four-byte pixel stays. */
KYI_API void KyiSetPixelDataRGB(KyiImageData* image, int32_t x, int32_t y, const int32_t values[3]);

/** Reads `count` pixels of row y from column x on, widened to 32 bits. The channel is ignored on one-channel images. */
KYI_API void KyiGetLinePixel(const KyiImageData* image, int32_t x, int32_t y, int32_t channel, int32_t* values,
                             int32_t count);
/** Writes `count` pixels of row y from column x on; on a colour image only the named channel changes. */
KYI_API void KyiSetLinePixel(KyiImageData* image, int32_t x, int32_t y, int32_t channel, const int32_t* values,
                             int32_t count);
/** As KyiGetLinePixel along column x, from row y downwards. */
KYI_API void KyiGetVLinePixel(const KyiImageData* image, int32_t x, int32_t y, int32_t channel, int32_t* values,
                              int32_t count);
/** As KyiSetLinePixel along column x, from row y downwards. */
KYI_API void KyiSetVLinePixel(KyiImageData* image, int32_t x, int32_t y, int32_t channel, const int32_t* values,
                              int32_t count);

/* ---- questions ------------------------------------------------------------------------------------------------- */

/** True for the colour words. False for gray and unknown words. */
KYI_API KyiBool KyiIsFormatBgr(int32_t format);
/** True for the gray words. */
KYI_API KyiBool KyiIsFormatGrayscale(int32_t format);
/** Largest sample value of a word: 255 or 65535; 0 for an unknown word. */
KYI_API int32_t KyiGetMaxVal(int32_t format);
/** Levels of a channel of a word: 256 or 65536; 0 for an unknown word. */
KYI_API int32_t KyiGetDepth(int32_t format);
KYI_API KyiBool KyiIsSameSize(const KyiImageData* first, const KyiImageData* second);
KYI_API KyiBool KyiIsSamePixelFormat(const KyiImageData* first, const KyiImageData* second);
KYI_API KyiBool KyiIsSameOrigin(const KyiImageData* first, const KyiImageData* second);

/* ---- files ----------------------------------------------------------------------------------------------------- */

/** Values of KyiGetFileTypeFromFileName. */
enum { KyiFileTypeUnknown = 0, KyiFileTypeBitmap = 1, KyiFileTypeJpeg = 2, KyiFileTypeTiff = 3, KyiFileTypePng = 4 };

/** Loads a bitmap, TIFF, PNG or JPEG file, told apart by its content. Alpha is dropped; of a multi-page file the first
 *  page is taken. The caller frees the image.
 *  @return non-zero and a new image; 0 and null for a file that is missing, unreadable, truncated or damaged, larger
 *          than an image can be, or of a kind that is not read. The reason goes to the trace log and to
 *          KyiGetLastFileError. */
KYI_API KyiBool KyiLoadImageData(const wchar_t* path, KyiImageData** image);
/** As KyiLoadImageData, for a bitmap file only. */
KYI_API KyiBool KyiLoadBitmap32(const wchar_t* path, KyiImageData** image);
/** As KyiLoadBitmap32, into an image that is there: for who reads many frames of one kind and needs one at a time. The
 *  file must be a bitmap of the image's size and Format whose lines lie in it as in memory, which is how they are
 * saved. The image's palette stays.
 *  @return non-zero; 0 for any other file, one that cannot be read, or a null pointer. Pixels may then be part of the
 *          file's. Nothing is traced and KyiGetLastFileError stays as it was: KyiLoadBitmap32 tells the reason. */
KYI_API KyiBool KyiReloadBitmap32(const wchar_t* path, KyiImageData* image);
/** A KyiFileType... value by the extension of the name, in any case. */
KYI_API int32_t KyiGetFileTypeFromFileName(const wchar_t* path);
/** Saves as bitmap, TIFF, PNG or JPEG by the name. The target is replaced as a whole or not touched: the data goes into
 *  a temporary file beside it which is then renamed; a process that is killed meanwhile leaves it, the target's name
 *  with a dot and 8 hexadecimal digits behind. A bitmap reads back pixel for pixel with its format.
 *  @return non-zero on success, 0 on failure (reason as for loading). */
KYI_API KyiBool KyiSaveImageData(const wchar_t* path, const KyiImageData* image, int32_t reserved);
/** Why the last load or save of this thread failed, in UTF-8 without the path; "" after a success. The text is the
 *  library's and stands until the thread's next load or save. */
KYI_API const char* KyiGetLastFileError(void);

/* ---- trace and display ----------------------------------------------------------------------------------------- */

/** Switches the trace log on or off, process wide. Off at start. */
KYI_API void KyiSetPuttingTraceLog(KyiBool on);
KYI_API KyiBool KyiIsPuttingTraceLog(void);
/** Folder of the trace log, "kyimaging.log" in it. The folder is not created; without it nothing is written. */
KYI_API void KyiSetTraceLogFolder(const wchar_t* folder);
/** One line in the log, when the switch is on. The source file name is shortened to its last part. */
KYI_API void KyiPutTraceLog(const char* sourceFile, int32_t line, const wchar_t* text, int32_t reserved);
/** A method's start. */
KYI_API void KyiPutBeginMethodLog(const char* sourceFile, int32_t line, const wchar_t* method, int32_t reserved);
/** A method's end, with the name of its result or null. */
KYI_API void KyiPutEndMethodLog(const char* sourceFile, int32_t line, const wchar_t* method, const wchar_t* result);
/** Scale of the display for dialogs: 1.0, or the positive finite number in the environment variable KYI_DISPLAY_SCALE.
 */
KYI_API double KyiGetWindowScalingDisplayMagnificationValue(void);

#ifdef __cplusplus
}
#endif

#endif
