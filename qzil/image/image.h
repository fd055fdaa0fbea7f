#pragma once

#include "qzil/image/core_values.h"
#include "qzil/image/formats.h"
#include "qzil/image/memory_pool.h"
#include "qzil/platform/api.h"
#include "qzil/platform/com.h"
#include "qzil/platform/host.h"

#include <cstdint>

inline constexpr GUID CLSID_ILImage = qzil::platform::MakeGuid("ea8409b2-63b3-11ce-babc-00aa00629284");
inline constexpr GUID IID_IXFImage = qzil::platform::MakeGuid("26c0e591-63a1-11ce-babc-00aa00629284");
inline constexpr GUID IID_IXFImageHeaderFooter = qzil::platform::MakeGuid("2c28e4a1-261d-11d1-8fa3-00a024190344");
inline constexpr GUID IID_IXFImageClone = qzil::platform::MakeGuid("7880cff1-3fe0-11d1-8fa4-00a024190344");
inline constexpr GUID IID_IQZAddMemSizeToStatManager = qzil::platform::MakeGuid("113a0c8b-eb9e-46bd-a118-29de09dc157c");
inline constexpr GUID IID_IXFSubImages = qzil::platform::MakeGuid("ebcd5a14-06ac-11d5-95f1-009027bc67cb");
inline constexpr GUID IID_IXFImageProperties = qzil::platform::MakeGuid("ebcd5a17-06ac-11d5-95f1-009027bc67cb");

/// An image: a pixel format, a size, a block of pixel memory and descriptive attributes.
///
/// Rows have no padding: the pixel array holds height rows of width x pixel size bytes. Which row is the picture's top,
/// how fields lie and where an alpha plane stands follow from the format; row indices here are memory rows unless told
/// otherwise. Methods return 0 or a negative result: 0x80070057 invalid argument, 0x8000FFFF unexpected, 0x80004001 not
/// implemented, 0x80004005 failure, 0x8007000E out of memory. Plain accessors check nothing and return 0.
class IXFImage : public IUnknown {
public:
    virtual HRESULT GetFormat(GUID* format) = 0;
    /// Also sets channel size and type, channel count, pixel size and compress, as far as the format gives them.
    virtual HRESULT SetFormat(GUID const& format) = 0;
    virtual HRESULT GetRes(int* width, int* height) = 0;
    virtual HRESULT SetRes(int width, int height) = 0;  ///< does not allocate
    virtual HRESULT GetSize(double* x, double* y) = 0;  ///< physical size
    virtual HRESULT SetSize(double x, double y) = 0;
    virtual HRESULT GetPos(double* x, double* y) = 0;
    virtual HRESULT SetPos(double x, double y) = 0;
    virtual HRESULT GetNumChannels(unsigned* channels) = 0;
    virtual HRESULT SetNumChannels(unsigned channels) = 0;
    virtual HRESULT GetChannelType(XFChannelType* type) = 0;
    virtual HRESULT SetChannelType(XFChannelType type) = 0;
    virtual HRESULT GetChannelSize(unsigned* bytes) = 0;
    virtual HRESULT SetChannelSize(unsigned bytes) = 0;
    virtual HRESULT GetCompress(int* compress) = 0;
    virtual HRESULT SetCompress(int compress) = 0;
    virtual HRESULT GetPixelSize(unsigned* bytes) = 0;
    virtual HRESULT SetPixelSize(unsigned bytes) = 0;
    virtual HRESULT GetPixelArray(void** pixels) = 0;
    /// Makes the image use memory of the caller, who keeps it alive; an own block goes back to the pool. Null ends it.
    virtual HRESULT SetPixelArray(void* pixels) = 0;
    virtual HRESULT GetPixelArraySize(unsigned* bytes) = 0;
    virtual HRESULT SetPixelArraySize(unsigned bytes) = 0;
    virtual HRESULT ResizePixelArray(unsigned bytes) = 0;
    /// Pixel memory for width x height pixels of the pixel size. A block of equal total size is kept with its pixels.
    virtual HRESULT Allocate(int width, int height) = 0;
    /// Copies a rectangle, in the frame's line numbering, to a buffer laid out like an image of that size and format.
    virtual HRESULT CopyRegion(void* buffer, int x, int y, int width, int height) = 0;
    virtual HRESULT PasteRegion(void* buffer, int x, int y, int width, int height) = 0;
    /// Fills a rectangle with one pixel; on 4:2:2 formats with the two-pixel unit of qzILGetColorInFormat.
    virtual HRESULT FillRegion(void* pixel, int x, int y, int width, int height) = 0;
    virtual HRESULT CopyLine(void*, int, int, int, int) = 0;   ///< always 0x80004001
    virtual HRESULT PasteLine(void*, int, int, int, int) = 0;  ///< always 0x80004001
    /// Draws a line one pixel wide between two points, the second not left of and not above the first.
    /// Symmetric double-step line (B. Wyvill, Graphics Gems, 1990), in memory coordinates.
    virtual HRESULT FillLine(void* pixel, int x0, int y0, int x1, int y1) = 0;
    /// Reads a pixel, bilinear between pixels, of the 8- and 16-bit RGBA, DIB and mono formats.
    virtual HRESULT GetPixel(void* pixel, float x, float y) = 0;
    /// 1 when a size is negative, else 0.
    virtual HRESULT Verify() = 0;
    virtual HRESULT CopyFrom(IXFImage* other) = 0;
    /// 0 when attributes and pixels are equal, 1 when not. User data, header and footer are not compared.
    virtual HRESULT IsEqual(IXFImage* other) = 0;
    virtual HRESULT GetUserData(void** data) = 0;
    virtual HRESULT SetUserData(void* data) = 0;
    virtual HRESULT GetOriginalRes(int* width, int* height) = 0;
    virtual HRESULT SetOriginalRes(int width, int height) = 0;
    virtual HRESULT GetFilledAlpha(int* filled) = 0;
    virtual HRESULT SetFilledAlpha(int filled) = 0;
    virtual HRESULT GetAttributes(unsigned mask, int* allSet) = 0;
    virtual HRESULT SetAttributes(unsigned mask, int on) = 0;
    virtual HRESULT GetAllAttributes(unsigned* attributes) = 0;
    virtual HRESULT SetAllAttributes(unsigned attributes) = 0;
    virtual HRESULT CopyFromNoData(IXFImage* other) = 0;

protected:
    ~IXFImage() = default;
};

/// Bytes reserved before and behind the pixel array; the next allocation honours them.
class IXFImageHeaderFooter : public IUnknown {
public:
    virtual HRESULT GetHeaderSize(unsigned* bytes) = 0;
    virtual HRESULT SetHeaderSize(unsigned bytes) = 0;
    virtual HRESULT GetFooterSize(unsigned* bytes) = 0;
    virtual HRESULT SetFooterSize(unsigned bytes) = 0;

protected:
    ~IXFImageHeaderFooter() = default;
};

/// Copies of whole images. The forms without data leave the pixels undefined.
class IXFImageClone : public IUnknown {
public:
    virtual HRESULT Clone(GUID const& iid, void** out) = 0;
    virtual HRESULT CloneNoData(GUID const& iid, void** out) = 0;
    virtual HRESULT CopyFrom(IXFImageClone* other) = 0;
    virtual HRESULT CopyFromNoData(IXFImageClone* other) = 0;
    /// Exchanges everything but reference count and marshaler; `other` must be an image and not null.
    virtual HRESULT Swap(IXFImageClone* other) = 0;
    /// Exchanges the pixel memory of images whose array, header and footer sizes are equal.
    virtual HRESULT SwapData(IXFImageClone* other) = 0;

protected:
    ~IXFImageClone() = default;
};

/// Reports the image's memory to the host's statistics.
class IQZAddMemSizeToStatManager : public IUnknown {
public:
    virtual HRESULT AddMemSizeToStatManager(MemStatKey key) = 0;

protected:
    ~IQZAddMemSizeToStatManager() = default;
};

/// The one image class. Effects and hosts reach it through its interfaces; qzILCreateImage makes it.
///
/// Distinct images may be used on distinct threads; one image is not to be changed by two at once.
class QZIL_API CMFImage : public IXFImage,
                          public IXFImageHeaderFooter,
                          public IXFImageClone,
                          public IQZAddMemSizeToStatManager,
                          public IPersistStream {
public:
    /// The pool of all images: made at the first image, destroyed by ClearImagePool.
    static qzILMemoryPool* s_pImageMemoryPool;
    static void ClearImagePool();

    QZIL_CLASS_NAME(CMFImage)
    virtual char const* GetActualClassName() const { return m_ClassName; }

    CMFImage();
    virtual ~CMFImage();
    CMFImage(CMFImage const&) = delete;
    CMFImage& operator=(CMFImage const&) = delete;

    /// 0x80040110 for an outer object, 0x8007000E without memory, 0x8000FFFF for an interface it does not have.
    static HRESULT CreateInstance(IUnknown* outer, GUID const& iid, void** out);

    HRESULT QueryInterface(GUID const& iid, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    HRESULT GetFormat(GUID* format) override;
    HRESULT SetFormat(GUID const& format) override;
    HRESULT GetRes(int* width, int* height) override;
    HRESULT SetRes(int width, int height) override;
    HRESULT GetSize(double* x, double* y) override;
    HRESULT SetSize(double x, double y) override;
    HRESULT GetPos(double* x, double* y) override;
    HRESULT SetPos(double x, double y) override;
    HRESULT GetNumChannels(unsigned* channels) override;
    HRESULT SetNumChannels(unsigned channels) override;
    HRESULT GetChannelType(XFChannelType* type) override;
    HRESULT SetChannelType(XFChannelType type) override;
    HRESULT GetChannelSize(unsigned* bytes) override;
    HRESULT SetChannelSize(unsigned bytes) override;
    HRESULT GetCompress(int* compress) override;
    HRESULT SetCompress(int compress) override;
    HRESULT GetPixelSize(unsigned* bytes) override;
    HRESULT SetPixelSize(unsigned bytes) override;
    HRESULT GetPixelArray(void** pixels) override;
    HRESULT SetPixelArray(void* pixels) override;
    HRESULT GetPixelArraySize(unsigned* bytes) override;
    HRESULT SetPixelArraySize(unsigned bytes) override;
    HRESULT ResizePixelArray(unsigned bytes) override;
    HRESULT Allocate(int width, int height) override;
    HRESULT CopyRegion(void* buffer, int x, int y, int width, int height) override;
    HRESULT PasteRegion(void* buffer, int x, int y, int width, int height) override;
    HRESULT FillRegion(void* pixel, int x, int y, int width, int height) override;
    HRESULT CopyLine(void*, int, int, int, int) override;
    HRESULT PasteLine(void*, int, int, int, int) override;
    HRESULT FillLine(void* pixel, int x0, int y0, int x1, int y1) override;
    HRESULT GetPixel(void* pixel, float x, float y) override;
    HRESULT Verify() override;
    HRESULT CopyFrom(IXFImage* other) override;
    HRESULT IsEqual(IXFImage* other) override;
    HRESULT GetUserData(void** data) override;
    HRESULT SetUserData(void* data) override;
    HRESULT GetOriginalRes(int* width, int* height) override;
    HRESULT SetOriginalRes(int width, int height) override;
    HRESULT GetFilledAlpha(int* filled) override;
    HRESULT SetFilledAlpha(int filled) override;
    HRESULT GetAttributes(unsigned mask, int* allSet) override;
    HRESULT SetAttributes(unsigned mask, int on) override;
    HRESULT GetAllAttributes(unsigned* attributes) override;
    HRESULT SetAllAttributes(unsigned attributes) override;
    HRESULT CopyFromNoData(IXFImage* other) override;

    HRESULT GetHeaderSize(unsigned* bytes) override;
    HRESULT SetHeaderSize(unsigned bytes) override;
    HRESULT GetFooterSize(unsigned* bytes) override;
    HRESULT SetFooterSize(unsigned bytes) override;

    HRESULT Clone(GUID const& iid, void** out) override;
    HRESULT CloneNoData(GUID const& iid, void** out) override;
    HRESULT CopyFrom(IXFImageClone* other) override;
    HRESULT CopyFromNoData(IXFImageClone* other) override;
    HRESULT Swap(IXFImageClone* other) override;
    HRESULT SwapData(IXFImageClone* other) override;

    HRESULT AddMemSizeToStatManager(MemStatKey key) override;

    HRESULT GetClassID(GUID* classId) override;
    HRESULT IsDirty() override;
    /// Reads an image as Save wrote it. A failed read or allocation leaves the image empty.
    HRESULT Load(IStream* stream) override;
    /// Writes the 88-byte description, attributes, header and footer size, and the pixels, all little-endian.
    /// An image with an external pixel array or user data cannot be saved: 0x8000FFFF.
    HRESULT Save(IStream* stream, int clearDirty) override;
    HRESULT GetSizeMax(ULARGE_INTEGER* size) override;

    /// Gives the pixel memory back and every field, but reference count and marshaler, its first value.
    void Trash();
    void Init() { Trash(); }
    /// A block of `size` bytes from the pool; a block of exactly that size is kept.
    HRESULT ResizeAllocatedMemory(unsigned size);
    /// Bytes that the image owns: 0 for an external pixel array.
    unsigned GetDynamicMemSize() const { return m_oState.iExternal ? 0 : m_oState.uAllocatedSize; }
    /// The pixel array is memory of the caller.
    bool IsExternal() const { return m_oState.iExternal != 0; }
    /// Bytes that may be read and written from the pixel array on, whatever the fields say. The length of external
    /// memory is what SetPixelArraySize said behind SetPixelArray; unlimited if that said nothing.
    std::uint64_t PixelMemory() const;

private:
    /// The head of the stream format.
    struct Description {
        GUID oFormat{};
        std::int32_t iWidth = 0;
        std::int32_t iHeight = 0;
        double dfSizeX = 1.0;
        double dfSizeY = 1.0;
        double dfPosX = 0.0;
        double dfPosY = 0.0;
        std::uint32_t uChannels = 0;
        XFChannelType uChannelType = 0;
        std::uint32_t uChannelSize = 0;
        std::int32_t iCompress = 0;
        std::uint32_t uPixelSize = 0;
        std::uint32_t uPixelArraySize = 0;
        std::int32_t iOriginalWidth = 0;
        std::int32_t iOriginalHeight = 0;
    };
    static_assert(sizeof(Description) == 88);

    /// Everything that Trash resets and Swap exchanges.
    struct State {
        Description oDescription;
        void* pBlock = nullptr;
        unsigned char* pPixels = nullptr;
        void* pUserData = nullptr;
        std::uint32_t uAttributes = 0;
        std::int32_t iExternal = 0;
        bool bLengthStated = false;  ///< of the external memory
        bool bFresh = false;         ///< the block was all zero when it came
        std::uint32_t uAllocatedSize = 0;
        std::uint32_t uHeaderSize = 0;
        std::uint32_t uFooterSize = 0;
    };

    HRESULT AllocatePixels(std::uint64_t pixelBytes, std::uint64_t headerBytes, std::uint64_t footerBytes);
    void ReleaseBlock();
    /// Made when first asked for; null without memory.
    IUnknown* Marshaler();
    HRESULT CheckRegion(void const* buffer, int x, int y, int width, int height) const;
    HRESULT MoveRegion(void* buffer, qzILBbox2l const& region, bool paste);
    template <class Make>
    HRESULT CloneWith(GUID const& iid, void** out, Make make);

    State m_oState;
    std::int32_t m_iReferences = 0;
    IUnknown* m_pMarshaler = nullptr;
};

/// Bytes that an object owns, as its host's statistics count them.
template <class T>
unsigned QZGetDynamicMemSize(T const& object) {
    return object.GetDynamicMemSize();
}
