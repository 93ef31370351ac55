#!/usr/bin/env python3
"""Makes the image files of this folder with netpbm and the libtiff tools, and what they hold as arrays beside them.

Run in this folder. The pictures are drawn here, so that the arrays do not come from any decoder; only the JPEG arrays
are what netpbm's decoder gives.
"""
import json, os, random, shutil, struct, subprocess, sys

WIDTH, HEIGHT = 23, 17


def write_npy(path, shape, values):
    header = "{'descr': '<u2', 'fortran_order': False, 'shape': (%s), }" % ", ".join(str(n) for n in shape)
    header += " " * (63 - (10 + len(header)) % 64) + "\n"
    with open(path, "wb") as out:
        out.write(b"\x93NUMPY\x01\x00" + struct.pack("<H", len(header)) + header.encode())
        out.write(struct.pack("<%dH" % len(values), *values))


def texture(top, channels, levels=None, seed=1):
    """Planes [channel][y][x] of a ramp with noise; with `levels` only that many values, 0 and top among them."""
    rng = random.Random(seed)
    planes = []
    for c in range(channels):
        for y in range(HEIGHT):
            for x in range(WIDTH):
                v = (x * (c + 1) / WIDTH + y / HEIGHT + rng.random()) / (channels + 1)
                if levels:
                    v = round(v * (levels - 1)) / (levels - 1)
                planes.append(min(top, round(v * top)))
    planes[0] = 0
    planes[WIDTH * HEIGHT - 1] = top
    return planes


def pnm(planes, channels, top):
    size = WIDTH * HEIGHT
    code = "B" if top < 256 else "H"
    body = b"".join(struct.pack(">" + code * channels, *(planes[c * size + i] for c in range(channels)))
                    for i in range(size))
    return b"P%d\n%d %d\n%d\n" % (6 if channels == 3 else 5, WIDTH, HEIGHT, top) + body


def pam_alpha(planes, channels, top):
    rng = random.Random(9)
    size = WIDTH * HEIGHT
    code = "B" if top < 256 else "H"
    body = b"".join(struct.pack(">" + code * (channels + 1), *(planes[c * size + i] for c in range(channels)),
                                rng.randrange(top + 1)) for i in range(size))
    kind = "RGB_ALPHA" if channels == 3 else "GRAYSCALE_ALPHA"
    return (b"P7\nWIDTH %d\nHEIGHT %d\nDEPTH %d\nMAXVAL %d\nTUPLTYPE %s\nENDHDR\n" %
            (WIDTH, HEIGHT, channels + 1, top, kind.encode())) + body


def pbm(planes):
    """Bits of a two-level gray plane; 1 is black."""
    rows = []
    for y in range(HEIGHT):
        bits = "".join("0" if planes[y * WIDTH + x] else "1" for x in range(WIDTH))
        bits += "0" * (-len(bits) % 8)
        rows.append(int(bits, 2).to_bytes(len(bits) // 8, "big"))
    return b"P4\n%d %d\n" % (WIDTH, HEIGHT) + b"".join(rows)


def run(command, data):
    done = subprocess.run(command, input=data, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if done.returncode != 0:
        sys.exit("%s: %s" % (command, done.stderr.decode()))
    return done.stdout


def case(name, extension, data, image_format, channels, planes, command):
    shutil.rmtree(name, ignore_errors=True)
    os.mkdir(name)
    with open(os.path.join(name, "image." + extension), "wb") as out:
        out.write(data)
    write_npy(os.path.join(name, "planes.npy"), (channels, HEIGHT, WIDTH), planes)
    with open(os.path.join(name, "case.json"), "w") as out:
        json.dump({"file": "image." + extension, "format": image_format, "made_by": command}, out, indent=1)
        out.write("\n")


def simple(name, extension, source, image_format, channels, planes, command):
    case(name, extension, run(command, source), image_format, channels, planes, " ".join(command))


def tiff_copy(name, source, image_format, channels, planes, first, options):
    with open("in.tif", "wb") as out:
        out.write(run(first, source))
    subprocess.run(["tiffcp"] + options + ["in.tif", "out.tif"], check=True)
    with open("out.tif", "rb") as made:
        case(name, "tif", made.read(), image_format, channels, planes, " ".join(first + ["|", "tiffcp"] + options))
    os.remove("in.tif")
    os.remove("out.tif")


def repeated(planes):
    """Three equal planes of one."""
    return planes * 3


def main():
    gray8, colour8 = texture(255, 1), texture(255, 3)
    gray16, colour16 = texture(65535, 1), texture(65535, 3)
    bilevel, four, sixteen = texture(255, 1, 2), texture(255, 1, 4), texture(255, 1, 16)
    few = texture(255, 3, 3)  # 27 colours at most
    few16 = texture(255, 3, 2)  # 8 colours

    for system in ("windows", "os2"):
        option = "-" + system
        simple("bmp_24_" + system, "bmp", pnm(colour8, 3, 255), 4, 3, colour8, ["ppmtobmp", option, "-bpp=24"])
        simple("bmp_8_" + system, "bmp", pnm(few, 3, 255), 4, 3, few, ["ppmtobmp", option, "-bpp=8"])
        simple("bmp_4_" + system, "bmp", pnm(few16, 3, 255), 4, 3, few16, ["ppmtobmp", option, "-bpp=4"])
        simple("bmp_1_" + system, "bmp", pbm(bilevel), 3, 1, bilevel, ["ppmtobmp", option, "-bpp=1"])
        simple("bmp_gray8_" + system, "bmp", pnm(gray8, 1, 255), 3, 1, gray8, ["ppmtobmp", option, "-bpp=8"])
        simple("bmp_gray4_" + system, "bmp", pnm(sixteen, 1, 255), 3, 1, sixteen, ["ppmtobmp", option, "-bpp=4"])

    for mark, extra in (("", []), ("_interlaced", ["-interlace"])):
        simple("png_gray8" + mark, "png", pnm(gray8, 1, 255), 3, 1, gray8, ["pnmtopng"] + extra)
        simple("png_gray16" + mark, "png", pnm(gray16, 1, 65535), 5, 1, gray16, ["pnmtopng"] + extra)
        simple("png_colour8" + mark, "png", pnm(colour8, 3, 255), 4, 3, colour8, ["pnmtopng"] + extra)
        simple("png_colour16" + mark, "png", pnm(colour16, 3, 65535), 7, 3, colour16, ["pnmtopng"] + extra)
        simple("png_palette" + mark, "png", pnm(few, 3, 255), 4, 3, few, ["pnmtopng"] + extra)
        simple("png_palette4" + mark, "png", pnm(few16, 3, 255), 4, 3, few16, ["pnmtopng"] + extra)
        simple("png_bilevel" + mark, "png", pbm(bilevel), 3, 1, bilevel, ["pnmtopng"] + extra)
        simple("png_gray2" + mark, "png", pnm(four, 1, 255), 3, 1, four, ["pnmtopng"] + extra)
        simple("png_gray4" + mark, "png", pnm(sixteen, 1, 255), 3, 1, sixteen, ["pnmtopng"] + extra)
    for name, planes, channels, top, image_format in (("gray8", gray8, 1, 255, 3), ("gray16", gray16, 1, 65535, 5),
                                                      ("colour8", colour8, 3, 255, 4), ("colour16", colour16, 3, 65535, 7)):
        simple("png_alpha_" + name, "png", pam_alpha(planes, channels, top), image_format, channels, planes, ["pamtopng"])
    simple("png_transparent", "png", pnm(few16, 3, 255), 4, 3, few16, ["pnmtopng", "-transparent", "black"])

    kinds = (("gray8", gray8, 1, 255, 3, []), ("gray16", gray16, 1, 65535, 5, []),
             ("colour8", colour8, 3, 255, 4, ["-truecolor"]), ("colour16", colour16, 3, 65535, 7, ["-truecolor"]))
    for name, planes, channels, top, image_format, extra in kinds:
        first = ["pnmtotiff"] + extra
        for mark, options in (("plain", ["-c", "none"]), ("bigendian", ["-c", "none", "-B"]), ("big", ["-c", "none", "-8"]),
                              ("rows", ["-c", "none", "-r", "1"]), ("bitorder", ["-c", "none", "-f", "lsb2msb"]),
                              ("lzw", ["-c", "lzw:2", "-r", "5"]), ("zip", ["-c", "zip:2", "-r", "5", "-B"]),
                              ("packbits", ["-c", "packbits"]), ("zstd", ["-c", "zstd"]), ("lzma", ["-c", "lzma"]),
                              ("lerc", ["-c", "lerc"]), ("tiles", ["-c", "none", "-t", "-w", "16", "-l", "16"]),
                              ("tiles_lzw", ["-c", "lzw", "-t", "-w", "16", "-l", "32", "-B"])):
            tiff_copy("tiff_%s_%s" % (name, mark), pnm(planes, channels, top), image_format, channels, planes, first, options)
        if name == "colour8":  # the copying tool takes planes of 8 bits only
            for mark, options in (("planes", ["-c", "none"]), ("planes_lzw", ["-c", "lzw", "-r", "4"]),
                                  ("planes_tiles", ["-c", "zip", "-t", "-w", "16", "-l", "16", "-B"])):
                tiff_copy("tiff_%s_%s" % (name, mark), pnm(planes, channels, top), image_format, channels, planes, first,
                          ["-p", "separate"] + options)
    for mark, options in (("plain", ["-c", "none"]), ("bitorder", ["-c", "none", "-f", "lsb2msb"]), ("g3", ["-c", "g3:2d"]),
                          ("g4", ["-c", "g4"]), ("packbits", ["-c", "packbits", "-r", "3"])):
        for zero in ("miniswhite", "minisblack"):
            tiff_copy("tiff_bilevel_%s_%s" % (zero, mark), pbm(bilevel), 3, 1, bilevel, ["pnmtotiff", "-" + zero], options)
    simple("tiff_gray2", "tif", pnm([v // 85 for v in four], 1, 3), 3, 1, four, ["pnmtotiff"])
    simple("tiff_gray4", "tif", pnm([v // 17 for v in sixteen], 1, 15), 3, 1, sixteen, ["pnmtotiff"])
    simple("tiff_white_gray8", "tif", pnm(gray8, 1, 255), 3, 1, gray8, ["pnmtotiff", "-miniswhite"])
    simple("tiff_white_gray16", "tif", pnm(gray16, 1, 65535), 5, 1, gray16, ["pnmtotiff", "-miniswhite"])
    simple("tiff_palette8", "tif", pnm(few, 3, 255), 4, 3, few, ["pnmtotiff"])
    simple("tiff_palette4", "tif", pnm(few16, 3, 255), 4, 3, few16, ["pnmtotiff"])
    for name, data in (("first.tif", pnm(gray16, 1, 65535)), ("second.tif", pbm(bilevel))):
        with open(name, "wb") as out:
            out.write(run(["pnmtotiff"], data))
    subprocess.run(["tiffcp", "first.tif", "second.tif", "out.tif"], check=True)
    with open("out.tif", "rb") as made:
        case("tiff_two_pages", "tif", made.read(), 5, 1, gray16, "pnmtotiff, twice, then tiffcp of both")
    for name in ("first.tif", "second.tif", "out.tif"):
        os.remove(name)

    for name, planes, channels, image_format, options in (
            ("gray", gray8, 1, 3, []), ("colour", colour8, 3, 4, ["-quality=90"]),
            ("progressive", colour8, 3, 4, ["-progressive", "-optimize"]), ("full", colour8, 3, 4, ["-sample=1x1"])):
        data = run(["pnmtojpeg"] + options, pnm(planes, channels, 255))
        decoded = run(["jpegtopnm", "-dct=int"], data)
        body = decoded[-WIDTH * HEIGHT * channels:]
        case("jpeg_" + name, "jpg", data, image_format, channels,
             [body[i * channels + c] for c in range(channels) for i in range(WIDTH * HEIGHT)],
             " ".join(["pnmtojpeg"] + options))


main()
