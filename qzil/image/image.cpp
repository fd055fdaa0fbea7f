#include "qzil/image/image.h"

#include "qzil/image/format_row.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/platform/sync.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

using namespace qzil::platform;

namespace {

constexpr unsigned kAlignment = 32;
constexpr unsigned kFilledAlpha = 1;
constexpr std::uint32_t kLargestPooled = 314572800;

template <class T>
HRESULT Answer(T* out, T const& value) {
    *out = value;
    return kOk;
}

template <class T>
HRESULT Store(T& field, T const& value) {
    field = value;
    return kOk;
}

/// The attributes that a copy takes over and a comparison looks at.
struct Attributes {
    GUID oFormat{};
    int iWidth = 0, iHeight = 0, iOriginalWidth = 0, iOriginalHeight = 0;
    double dfSizeX = 0, dfSizeY = 0, dfPosX = 0, dfPosY = 0;
    unsigned uChannels = 0, uChannelType = 0, uChannelSize = 0, uPixelSize = 0, uPixelArraySize = 0, uAttributes = 0;
    int iCompress = 0;

    explicit Attributes(IXFImage& image) {
        image.GetFormat(&oFormat);
        image.GetRes(&iWidth, &iHeight);
        image.GetOriginalRes(&iOriginalWidth, &iOriginalHeight);
        image.GetSize(&dfSizeX, &dfSizeY);
        image.GetPos(&dfPosX, &dfPosY);
        image.GetNumChannels(&uChannels);
        image.GetChannelType(&uChannelType);
        image.GetChannelSize(&uChannelSize);
        image.GetCompress(&iCompress);
        image.GetPixelSize(&uPixelSize);
        image.GetPixelArraySize(&uPixelArraySize);
        image.GetAllAttributes(&uAttributes);
    }
    /// A NaN differs from everything, itself included.
    bool operator==(Attributes const&) const = default;
};

unsigned char* PixelsOf(IXFImage& image) {
    void* pPixels = nullptr;
    image.GetPixelArray(&pPixels);
    return static_cast<unsigned char*>(pPixels);
}

/// Bytes behind an image's pixel array; a host's own image has what it says.
std::uint64_t MemoryOf(IXFImage& image) {
    if (CMFImage const* const pOwn = qzil::OwnImage(&image)) return pOwn->PixelMemory();
    return UINT64_MAX;
}

}  // namespace

qzILMemoryPool* CMFImage::s_pImageMemoryPool = nullptr;

namespace {

qzILMemoryPool* Pool() {
    return std::atomic_ref(CMFImage::s_pImageMemoryPool).load();
}

}  // namespace

void CMFImage::ClearImagePool() {
    delete std::atomic_ref(s_pImageMemoryPool).exchange(nullptr);
}

CMFImage::CMFImage() {
    if (Pool()) return;
    // Two first images may be made side by side: the later pool is dropped.
    auto* const pMade = new qzILMemoryPool(1, 40960, 1, 0x2000000, 1, kLargestPooled);
    qzILMemoryPool* pNone = nullptr;
    if (!std::atomic_ref(s_pImageMemoryPool).compare_exchange_strong(pNone, pMade)) delete pMade;
}

CMFImage::~CMFImage() {
    if (m_pMarshaler) m_pMarshaler->Release();
    Trash();
}

HRESULT CMFImage::CreateInstance(IUnknown* outer, GUID const& iid, void** out) {
    if (outer) return kNoAggregation;
    CMFImage* pImage = nullptr;
    try {
        pImage = new CMFImage;
    } catch (std::bad_alloc const&) {
        if (out) *out = nullptr;
        return kOutOfMemory;
    }
    if (pImage->QueryInterface(iid, out) >= 0) return kOk;
    delete pImage;
    return kUnexpected;
}

HRESULT CMFImage::QueryInterface(GUID const& iid, void** out) {
    if (!out) return kInvalidArgument;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IXFImage) {
        *out = static_cast<IXFImage*>(this);
    } else if (iid == IID_IXFImageHeaderFooter) {
        *out = static_cast<IXFImageHeaderFooter*>(this);
    } else if (iid == IID_IXFImageClone) {
        *out = static_cast<IXFImageClone*>(this);
    } else if (iid == IID_IPersistStream) {
        *out = static_cast<IPersistStream*>(this);
    } else if (iid == IID_IMarshal) {
        IUnknown* const pMarshaler = Marshaler();
        return pMarshaler ? pMarshaler->QueryInterface(iid, out) : kOutOfMemory;
    } else if (iid == IID_IQZAddMemSizeToStatManager) {
        *out = static_cast<IQZAddMemSizeToStatManager*>(this);
    } else {
        return kNoInterface;
    }
    AddRef();
    return kOk;
}

IUnknown* CMFImage::Marshaler() {
    std::atomic_ref marshaler(m_pMarshaler);
    if (IUnknown* const pPresent = marshaler.load()) return pPresent;
    // Of two threads that ask at once, the later one's is dropped.
    IUnknown* pMade = nullptr;
    if (CoCreateFreeThreadedMarshaler(static_cast<IXFImage*>(this), &pMade) < 0) return nullptr;
    IUnknown* pPresent = nullptr;
    if (marshaler.compare_exchange_strong(pPresent, pMade)) return pMade;
    pMade->Release();
    return pPresent;
}

std::uint32_t CMFImage::AddRef() {
    return static_cast<std::uint32_t>(InterlockedIncrement(&m_iReferences));
}

std::uint32_t CMFImage::Release() {
    std::int32_t const count = InterlockedDecrement(&m_iReferences);
    if (count == 0) delete this;
    return static_cast<std::uint32_t>(count);
}

HRESULT CMFImage::GetFormat(GUID* format) {
    return Answer(format, m_oState.oDescription.oFormat);
}

HRESULT CMFImage::SetFormat(GUID const& format) {
    Description& d = m_oState.oDescription;
    qzil::StoredAttributes const& stored = qzil::RowOf(format).oStored;
    d.oFormat = format;
    if (stored.uChannelSize != 0) d.uChannelSize = stored.uChannelSize;
    if (stored.uChannelType != 0) d.uChannelType = stored.uChannelType;
    if (stored.uChannels != 0) d.uChannels = stored.uChannels;
    if (stored.uPixelSize != 0) d.uPixelSize = stored.uPixelSize;
    if (stored.iCompress >= 0) d.iCompress = stored.iCompress;
    return kOk;
}

HRESULT CMFImage::GetRes(int* width, int* height) {
    *width = m_oState.oDescription.iWidth;
    return Answer(height, m_oState.oDescription.iHeight);
}

HRESULT CMFImage::SetRes(int width, int height) {
    m_oState.oDescription.iWidth = width;
    return Store(m_oState.oDescription.iHeight, height);
}

HRESULT CMFImage::GetSize(double* x, double* y) {
    *x = m_oState.oDescription.dfSizeX;
    return Answer(y, m_oState.oDescription.dfSizeY);
}

HRESULT CMFImage::SetSize(double x, double y) {
    m_oState.oDescription.dfSizeX = x;
    return Store(m_oState.oDescription.dfSizeY, y);
}

HRESULT CMFImage::GetPos(double* x, double* y) {
    *x = m_oState.oDescription.dfPosX;
    return Answer(y, m_oState.oDescription.dfPosY);
}

HRESULT CMFImage::SetPos(double x, double y) {
    m_oState.oDescription.dfPosX = x;
    return Store(m_oState.oDescription.dfPosY, y);
}

HRESULT CMFImage::GetNumChannels(unsigned* channels) {
    return Answer(channels, m_oState.oDescription.uChannels);
}

HRESULT CMFImage::SetNumChannels(unsigned channels) {
    return Store(m_oState.oDescription.uChannels, channels);
}

HRESULT CMFImage::GetChannelType(XFChannelType* type) {
    return Answer(type, m_oState.oDescription.uChannelType);
}

HRESULT CMFImage::SetChannelType(XFChannelType type) {
    return Store(m_oState.oDescription.uChannelType, type);
}

HRESULT CMFImage::GetChannelSize(unsigned* bytes) {
    return Answer(bytes, m_oState.oDescription.uChannelSize);
}

HRESULT CMFImage::SetChannelSize(unsigned bytes) {
    return Store(m_oState.oDescription.uChannelSize, bytes);
}

HRESULT CMFImage::GetCompress(int* compress) {
    return Answer(compress, m_oState.oDescription.iCompress);
}

HRESULT CMFImage::SetCompress(int compress) {
    return Store(m_oState.oDescription.iCompress, compress);
}

HRESULT CMFImage::GetPixelSize(unsigned* bytes) {
    return Answer(bytes, m_oState.oDescription.uPixelSize);
}

HRESULT CMFImage::SetPixelSize(unsigned bytes) {
    return Store(m_oState.oDescription.uPixelSize, bytes);
}

HRESULT CMFImage::GetPixelArray(void** pixels) {
    *pixels = m_oState.pPixels;
    return kOk;
}

HRESULT CMFImage::SetPixelArray(void* pixels) {
    ReleaseBlock();
    m_oState.pPixels = static_cast<unsigned char*>(pixels);
    m_oState.iExternal = pixels != nullptr;
    m_oState.bLengthStated = false;
    return kOk;
}

HRESULT CMFImage::GetPixelArraySize(unsigned* bytes) {
    return Answer(bytes, m_oState.oDescription.uPixelArraySize);
}

HRESULT CMFImage::SetPixelArraySize(unsigned bytes) {
    m_oState.bLengthStated = m_oState.iExternal != 0;
    return Store(m_oState.oDescription.uPixelArraySize, bytes);
}

void CMFImage::ReleaseBlock() {
    if (qzILMemoryPool* const pPool = m_oState.pBlock ? Pool() : nullptr) pPool->ReleaseMemory(m_oState.pBlock);
    m_oState.pBlock = nullptr;
    m_oState.uAllocatedSize = 0;
}

HRESULT CMFImage::ResizeAllocatedMemory(unsigned size) {
    if (m_oState.iExternal) return kUnexpected;
    if (size == m_oState.uAllocatedSize) return kOk;
    ReleaseBlock();
    if (size == 0) return kOk;
    qzILMemoryPool* const pPool = Pool();
    if (!pPool) return kOutOfMemory;
    HRESULT const result = pPool->AllocateMemory(size, &m_oState.pBlock, &m_oState.bFresh);
    if (result >= 0) m_oState.uAllocatedSize = size;
    return result;
}

HRESULT CMFImage::AllocatePixels(std::uint64_t pixelBytes, std::uint64_t headerBytes, std::uint64_t footerBytes) {
    std::uint64_t const total = pixelBytes + headerBytes + footerBytes + (kAlignment - 1);
    HRESULT result = kOutOfMemory;
    if (pixelBytes <= UINT32_MAX && total <= UINT32_MAX) {
        result = ResizeAllocatedMemory(static_cast<unsigned>(total));
    } else {
        ReleaseBlock();
    }
    if (result < 0) {
        m_oState.pPixels = nullptr;
        m_oState.oDescription.uPixelArraySize = 0;
        return result;
    }
    auto const first = reinterpret_cast<std::uintptr_t>(m_oState.pBlock) + headerBytes + (kAlignment - 1);
    m_oState.pPixels = reinterpret_cast<unsigned char*>(first / kAlignment * kAlignment);
    m_oState.oDescription.uPixelArraySize = static_cast<std::uint32_t>(pixelBytes);
    return kOk;
}

HRESULT CMFImage::ResizePixelArray(unsigned bytes) {
    if (m_oState.iExternal) return bytes == m_oState.oDescription.uPixelArraySize ? kOk : kUnexpected;
    return AllocatePixels(bytes, m_oState.uHeaderSize, m_oState.uFooterSize);
}

HRESULT CMFImage::Allocate(int width, int height) {
    if (width < 0 || height < 0) return kInvalidArgument;
    unsigned pixelSize = 0;
    GetPixelSize(&pixelSize);
    std::uint64_t const pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    // pixels is below 2^62; more than 2^32 of them are too many for any pixel size but 0, and times one they still fit.
    std::uint64_t const bytes = pixelSize == 0 ? 0 : pixels > UINT32_MAX ? pixels : pixels * pixelSize;
    Description& d = m_oState.oDescription;
    if (m_oState.iExternal) {
        if (bytes != d.uPixelArraySize) return kUnexpected;
    } else {
        HRESULT const result = AllocatePixels(bytes, m_oState.uHeaderSize, m_oState.uFooterSize);
        if (result < 0) {
            SetRes(0, 0);
            return result;
        }
    }
    return SetRes(width, height);
}

void CMFImage::Trash() {
    ReleaseBlock();
    m_oState = State{};
}

std::uint64_t CMFImage::PixelMemory() const {
    if (!m_oState.pPixels) return 0;
    if (!m_oState.pBlock && m_oState.iExternal && !m_oState.bLengthStated) return UINT64_MAX;
    std::uint64_t const stated = m_oState.oDescription.uPixelArraySize;
    if (!m_oState.pBlock) return stated;
    auto const before = static_cast<std::uint64_t>(m_oState.pPixels - static_cast<unsigned char*>(m_oState.pBlock));
    return std::min<std::uint64_t>(stated, m_oState.uAllocatedSize - before);
}

HRESULT CMFImage::Verify() {
    Description const& d = m_oState.oDescription;
    bool const bad = d.iWidth < 0 || d.iHeight < 0 || d.iOriginalWidth < 0 || d.iOriginalHeight < 0 || d.dfSizeX < 0 ||
                     d.dfSizeY < 0;
    return bad ? 1 : kOk;
}

HRESULT CMFImage::CopyFromNoData(IXFImage* other) {
    if (!other) return kInvalidArgument;
    if (other == static_cast<IXFImage*>(this)) return kOk;
    Attributes const from(*other);
    unsigned headerSize = 0, footerSize = 0;
    qzil::Ref<IXFImageHeaderFooter> headerFooter;
    if (other->QueryInterface(IID_IXFImageHeaderFooter, headerFooter.Out()) >= 0) {
        headerFooter->GetHeaderSize(&headerSize);
        headerFooter->GetFooterSize(&footerSize);
    }
    if (m_oState.iExternal) {
        if (from.uPixelArraySize != m_oState.oDescription.uPixelArraySize) return kUnexpected;
    } else {
        HRESULT const result = AllocatePixels(from.uPixelArraySize, headerSize, footerSize);
        if (result < 0) return result;
    }
    Description& d = m_oState.oDescription;
    d.oFormat = from.oFormat;
    d.iWidth = from.iWidth;
    d.iHeight = from.iHeight;
    d.iOriginalWidth = from.iOriginalWidth;
    d.iOriginalHeight = from.iOriginalHeight;
    d.dfSizeX = from.dfSizeX;
    d.dfSizeY = from.dfSizeY;
    d.dfPosX = from.dfPosX;
    d.dfPosY = from.dfPosY;
    d.uChannels = from.uChannels;
    d.uChannelType = from.uChannelType;
    d.uChannelSize = from.uChannelSize;
    d.iCompress = from.iCompress;
    d.uPixelSize = from.uPixelSize;
    m_oState.uAttributes = from.uAttributes;
    m_oState.uHeaderSize = headerSize;
    m_oState.uFooterSize = footerSize;
    return kOk;
}

HRESULT CMFImage::CopyFrom(IXFImage* other) {
    HRESULT const result = CopyFromNoData(other);
    if (result < 0 || other == static_cast<IXFImage*>(this)) return result;
    unsigned char const* const pFrom = PixelsOf(*other);
    if (!pFrom || !m_oState.pPixels) return kOk;
    std::uint32_t const size = m_oState.oDescription.uPixelArraySize;
    auto const held = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, MemoryOf(*other)));
    std::memmove(m_oState.pPixels, pFrom, held);
    std::memset(m_oState.pPixels + held, 0, size - held);
    return kOk;
}

HRESULT CMFImage::CopyFromNoData(IXFImageClone* other) {
    if (!other) return kInvalidArgument;
    qzil::Ref<IXFImage> image;
    HRESULT const result = other->QueryInterface(IID_IXFImage, image.Out());
    return result < 0 ? result : CopyFromNoData(image.Get());
}

HRESULT CMFImage::CopyFrom(IXFImageClone* other) {
    if (!other) return kInvalidArgument;
    qzil::Ref<IXFImage> image;
    HRESULT const result = other->QueryInterface(IID_IXFImage, image.Out());
    return result < 0 ? result : CopyFrom(image.Get());
}

HRESULT CMFImage::IsEqual(IXFImage* other) {
    if (!other) return kInvalidArgument;
    if (other == static_cast<IXFImage*>(this)) return kOk;
    Attributes const mine(*this);
    if (!(mine == Attributes(*other))) return kFalse;
    if (mine.uPixelArraySize == 0) return kOk;
    unsigned char const* const pOther = PixelsOf(*other);
    if (!pOther || !m_oState.pPixels) return pOther == m_oState.pPixels ? kOk : kFalse;
    std::uint64_t const size = std::min({std::uint64_t{mine.uPixelArraySize}, PixelMemory(), MemoryOf(*other)});
    return std::memcmp(m_oState.pPixels, pOther, size) == 0 ? kOk : kFalse;
}

HRESULT CMFImage::GetUserData(void** data) {
    return Answer(data, m_oState.pUserData);
}

HRESULT CMFImage::SetUserData(void* data) {
    return Store(m_oState.pUserData, data);
}

HRESULT CMFImage::GetOriginalRes(int* width, int* height) {
    *width = m_oState.oDescription.iOriginalWidth;
    return Answer(height, m_oState.oDescription.iOriginalHeight);
}

HRESULT CMFImage::SetOriginalRes(int width, int height) {
    m_oState.oDescription.iOriginalWidth = width;
    return Store(m_oState.oDescription.iOriginalHeight, height);
}

HRESULT CMFImage::GetFilledAlpha(int* filled) {
    return GetAttributes(kFilledAlpha, filled);
}

HRESULT CMFImage::SetFilledAlpha(int filled) {
    return SetAttributes(kFilledAlpha, filled);
}

HRESULT CMFImage::GetAttributes(unsigned mask, int* allSet) {
    *allSet = (m_oState.uAttributes & mask) == mask;
    return kOk;
}

HRESULT CMFImage::SetAttributes(unsigned mask, int on) {
    return Store(m_oState.uAttributes, on ? m_oState.uAttributes | mask : m_oState.uAttributes & ~mask);
}

HRESULT CMFImage::GetAllAttributes(unsigned* attributes) {
    return Answer(attributes, m_oState.uAttributes);
}

HRESULT CMFImage::SetAllAttributes(unsigned attributes) {
    return Store(m_oState.uAttributes, attributes);
}

HRESULT CMFImage::GetHeaderSize(unsigned* bytes) {
    return Answer(bytes, m_oState.uHeaderSize);
}

HRESULT CMFImage::SetHeaderSize(unsigned bytes) {
    return Store(m_oState.uHeaderSize, bytes);
}

HRESULT CMFImage::GetFooterSize(unsigned* bytes) {
    return Answer(bytes, m_oState.uFooterSize);
}

HRESULT CMFImage::SetFooterSize(unsigned bytes) {
    return Store(m_oState.uFooterSize, bytes);
}

template <class Make>
HRESULT CMFImage::CloneWith(GUID const& iid, void** out, Make make) {
    if (!out) return kInvalidArgument;
    *out = nullptr;
    CMFImage* pClone = nullptr;
    try {
        pClone = new CMFImage;
    } catch (std::bad_alloc const&) {
        return kOutOfMemory;
    }
    HRESULT result = make(*pClone);
    if (result >= 0) result = pClone->QueryInterface(iid, out);
    if (result < 0) delete pClone;
    return result;
}

HRESULT CMFImage::Clone(GUID const& iid, void** out) {
    // A failed copy deliberately does not show: the clone is handed out as far as it came.
    return CloneWith(iid, out, [this](CMFImage& clone) {
        clone.CopyFrom(static_cast<IXFImage*>(this));
        return kOk;
    });
}

HRESULT CMFImage::CloneNoData(GUID const& iid, void** out) {
    return CloneWith(iid, out, [this](CMFImage& clone) { return clone.CopyFromNoData(static_cast<IXFImage*>(this)); });
}

HRESULT CMFImage::Swap(IXFImageClone* other) {
    std::swap(m_oState, static_cast<CMFImage*>(other)->m_oState);
    return kOk;
}

HRESULT CMFImage::SwapData(IXFImageClone* other) {
    if (!other) return kInvalidArgument;
    if (other == static_cast<IXFImageClone*>(this)) return kOk;
    State& mine = m_oState;
    State& theirs = static_cast<CMFImage*>(other)->m_oState;
    if (mine.uHeaderSize != theirs.uHeaderSize || mine.uFooterSize != theirs.uFooterSize ||
        mine.oDescription.uPixelArraySize != theirs.oDescription.uPixelArraySize) {
        return kInvalidArgument;
    }
    std::swap(mine.pBlock, theirs.pBlock);
    std::swap(mine.uAllocatedSize, theirs.uAllocatedSize);
    std::swap(mine.pPixels, theirs.pPixels);
    return kOk;
}

HRESULT CMFImage::AddMemSizeToStatManager(MemStatKey key) {
    CQZStatManager::MemStat_DeclareThis(key, "CMFImage", 4, sizeof *this, QZGetDynamicMemSize(*this), 0);
    return kOk;
}
