// An image in a stream.

#include "qzil/image/image.h"

#include <algorithm>
#include <cstring>

using namespace qzil::platform;

namespace {

constexpr unsigned kHeadSize = 100;

/// Bytes from a stream's place to its end; UINT64_MAX for a stream that does not tell.
std::uint64_t LengthOf(IStream& stream) {
    ULARGE_INTEGER here{}, end{};
    if (stream.Seek({}, 1, &here) < 0 || stream.Seek({}, 2, &end) < 0) return UINT64_MAX;
    LARGE_INTEGER back{};
    back.QuadPart = static_cast<std::int64_t>(here.QuadPart);
    if (stream.Seek(back, 0, nullptr) < 0 || end.QuadPart < here.QuadPart) return UINT64_MAX;
    return end.QuadPart - here.QuadPart;
}

}  // namespace

HRESULT CMFImage::GetClassID(GUID* classId) {
    if (!classId) return kInvalidArgument;
    *classId = CLSID_ILImage;
    return kOk;
}

HRESULT CMFImage::IsDirty() {
    return kOk;
}

HRESULT CMFImage::GetSizeMax(ULARGE_INTEGER* size) {
    if (!size) return kInvalidArgument;
    size->LowPart = m_oState.oDescription.uPixelArraySize + kHeadSize;
    size->HighPart = 0;
    return kOk;
}

HRESULT CMFImage::Save(IStream* stream, int) {
    if (!stream) return kInvalidArgument;
    if (m_oState.iExternal || m_oState.pUserData) return kUnexpected;
    // More than there is was set by hand.
    if (m_oState.pPixels && m_oState.oDescription.uPixelArraySize > PixelMemory()) return kUnexpected;
    struct {
        void const* pBytes;
        std::uint32_t uSize;
    } const parts[] = {
        {&m_oState.oDescription, sizeof m_oState.oDescription},
        {&m_oState.uAttributes, sizeof m_oState.uAttributes},
        {&m_oState.uHeaderSize, sizeof m_oState.uHeaderSize},
        {&m_oState.uFooterSize, sizeof m_oState.uFooterSize},
        {m_oState.pPixels, m_oState.pPixels ? m_oState.oDescription.uPixelArraySize : 0},
    };
    for (auto const& part : parts) {
        if (HRESULT const result = stream->Write(part.pBytes, part.uSize, nullptr); result < 0) return result;
    }
    return kOk;
}

HRESULT CMFImage::Load(IStream* stream) {
    if (!stream) return kInvalidArgument;
    if (m_oState.iExternal || m_oState.pUserData) return kUnexpected;
    Trash();
    auto const failed = [this](HRESULT result) {
        Trash();
        return result;
    };
    Description& d = m_oState.oDescription;
    HRESULT result = stream->Read(&d, sizeof d, nullptr);
    d.uPixelArraySize = 0;
    if (result < 0) return failed(result);
    for (std::uint32_t* const pWord : {&m_oState.uAttributes, &m_oState.uHeaderSize, &m_oState.uFooterSize}) {
        result = stream->Read(pWord, sizeof *pWord, nullptr);
        if (result < 0) return failed(result);
    }
    result = Allocate(d.iWidth, d.iHeight);
    if (result < 0) return failed(result);
    // What is missing must not be asked for, and neither touch memory: the head may claim gigabytes.
    std::uint32_t const wanted =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(d.uPixelArraySize, LengthOf(*stream)));
    std::uint32_t read = wanted;  // a stream may leave the count alone
    result = stream->Read(m_oState.pPixels, wanted, &read);
    if (result < 0) return failed(result);
    // A short stream is no failure; what it does not give must not be some other image's pixels.
    if (!m_oState.bFresh && read < d.uPixelArraySize) std::memset(m_oState.pPixels + read, 0, d.uPixelArraySize - read);
    return kOk;
}
