/// Owners of working images: every way out of a long function frees what it has allocated.
#ifndef KYFOCUS_SAFE3D_CUSTOM_DELETER_H
#define KYFOCUS_SAFE3D_CUSTOM_DELETER_H

#include <utility>

#include "filters/double_image.h"
#include "safe3d/image_uint16.h"

namespace kyf {

/// One object and the way to free it. Delete frees the object; the destructor ends the holder only.
class CCustomDeleterDeleterBase {
  public:
    virtual ~CCustomDeleterDeleterBase() = default;
    virtual void Delete() = 0;
};

/// Keeps an object and the function that frees it.
template <typename T> class CCustomDeleterDeleter final : public CCustomDeleterDeleterBase {
  public:
    using Free = void (*)(T*);

    CCustomDeleterDeleter(T* object, Free free) : m_object(object), m_free(free) {}
    CCustomDeleterDeleter(const CCustomDeleterDeleter&) = delete;
    CCustomDeleterDeleter& operator=(const CCustomDeleterDeleter&) = delete;

    void Delete() override {
        if (T* const object = Release()) m_free(object);
    }
    T* Get() const { return m_object; }
    /// Hands the object over: Delete has nothing left to free.
    T* Release() { return std::exchange(m_object, nullptr); }
    /// Frees the object and holds another.
    void Reset(T* object) {
        Delete();
        m_object = object;
    }

  private:
    T* m_object;
    Free m_free;
};

inline void FreeHeldImage(KyfImageData* image) { FreeDoubleImage(image); }
inline void FreeHeldImage(KyfImageDataUint16* image) { FreeUint16Image(image); }
inline void FreeHeldImage(KyiImageData* image) { KyiFreeImageData(image); }

/// A working image that is freed at the end of its scope, or before by Free. T is KyfImageData, KyfImageDataUint16 or
/// KyiImageData; null is an image that could not be had.
template <typename T> class HeldImage {
  public:
    explicit HeldImage(T* image) : m_holder(image, &FreeHeldImage) {}
    ~HeldImage() { m_holder.Delete(); }
    HeldImage(const HeldImage&) = delete;
    HeldImage& operator=(const HeldImage&) = delete;

    explicit operator bool() const { return m_holder.Get() != nullptr; }
    T* Get() const { return m_holder.Get(); }
    T& operator*() const { return *m_holder.Get(); }
    T* operator->() const { return m_holder.Get(); }
    void Free() { m_holder.Delete(); }
    T* Release() { return m_holder.Release(); }
    void Reset(T* image) { m_holder.Reset(image); }

  private:
    CCustomDeleterDeleter<T> m_holder;
};

} // namespace kyf

#endif
