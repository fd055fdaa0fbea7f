#include "qzil/platform/stream.h"

#include "qzil/platform/sync.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace qzil::platform {
namespace {

class CountedStream : public IStream {
public:
    virtual ~CountedStream() = default;

    HRESULT QueryInterface(GUID const& iid, void** out) override {
        if (!out) return kInvalidArgument;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != IID_IStream) return kNoInterface;
        AddRef();
        *out = static_cast<IStream*>(this);
        return kOk;
    }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(InterlockedIncrement(&m_iCount)); }
    std::uint32_t Release() override {
        auto const count = InterlockedDecrement(&m_iCount);
        if (count == 0) delete this;
        return static_cast<std::uint32_t>(count);
    }

private:
    std::int32_t m_iCount = 1;
};

class MemoryStream final : public CountedStream {
public:
    MemoryStream(void const* bytes, std::size_t size) {
        if (size != 0) {
            auto const* const pFirst = static_cast<unsigned char const*>(bytes);
            m_oBytes.assign(pFirst, pFirst + size);
        }
    }

    HRESULT Read(void* bytes, std::uint32_t size, std::uint32_t* read) override {
        std::size_t const left = m_oBytes.size() - std::min(m_uPosition, m_oBytes.size());
        auto const count = static_cast<std::uint32_t>(std::min<std::size_t>(size, left));
        if (count != 0) std::memcpy(bytes, m_oBytes.data() + m_uPosition, count);
        m_uPosition += count;
        if (read) *read = count;
        return kOk;
    }
    HRESULT Write(void const* bytes, std::uint32_t size, std::uint32_t* written) override try {
        if (written) *written = 0;
        if (size == 0) return kOk;
        if (m_uPosition + size > m_oBytes.size()) m_oBytes.resize(m_uPosition + size);
        std::memcpy(m_oBytes.data() + m_uPosition, bytes, size);
        m_uPosition += size;
        if (written) *written = size;
        return kOk;
    } catch (std::exception const&) {
        return kOutOfMemory;
    }
    HRESULT Seek(LARGE_INTEGER move, std::uint32_t origin, ULARGE_INTEGER* position) override {
        if (origin > 2) return kInvalidArgument;
        auto const base = static_cast<std::int64_t>(origin == 0 ? 0 : origin == 1 ? m_uPosition : m_oBytes.size());
        if (move.QuadPart < -base || move.QuadPart > INT64_MAX - base) return kInvalidArgument;
        m_uPosition = static_cast<std::size_t>(base + move.QuadPart);
        if (position) position->QuadPart = m_uPosition;
        return kOk;
    }
    HRESULT SetSize(ULARGE_INTEGER size) override try {
        m_oBytes.resize(size.QuadPart);
        return kOk;
    } catch (std::exception const&) {
        return kOutOfMemory;
    }

private:
    std::vector<unsigned char> m_oBytes;
    std::size_t m_uPosition = 0;
};

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

class FileStream final : public CountedStream {
public:
    explicit FileStream(File file) : m_oFile(std::move(file)) {}

    HRESULT Read(void* bytes, std::uint32_t size, std::uint32_t* read) override {
        std::size_t const count = std::fread(bytes, 1, size, m_oFile.get());
        if (read) *read = static_cast<std::uint32_t>(count);
        return count < size && std::ferror(m_oFile.get()) ? kFailure : kOk;
    }
    HRESULT Write(void const* bytes, std::uint32_t size, std::uint32_t* written) override {
        std::size_t const count = std::fwrite(bytes, 1, size, m_oFile.get());
        if (written) *written = static_cast<std::uint32_t>(count);
        // Flushed at once: a full disk has to show in the result of a write, since closing reports nothing.
        return count < size || std::fflush(m_oFile.get()) != 0 ? kFailure : kOk;
    }
    HRESULT Seek(LARGE_INTEGER move, std::uint32_t origin, ULARGE_INTEGER* position) override {
        if (origin > 2) return kInvalidArgument;
        int const whence = origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END;
        if (std::fseek(m_oFile.get(), static_cast<long>(move.QuadPart), whence) != 0) return kFailure;
        if (position) position->QuadPart = static_cast<std::uint64_t>(std::ftell(m_oFile.get()));
        return kOk;
    }

private:
    File m_oFile;
};

}  // namespace

HRESULT CreateMemoryStream(void const* bytes, std::size_t size, IStream** out) try {
    if (!out || (!bytes && size != 0)) return kInvalidArgument;
    *out = nullptr;
    *out = new MemoryStream(bytes, size);
    return kOk;
} catch (std::exception const&) {
    return kOutOfMemory;
}

HRESULT CreateFileStream(char const* path, FileMode mode, IStream** out) try {
    if (!out || !path) return kInvalidArgument;
    *out = nullptr;
    File file(std::fopen(path, mode == FileMode::Read ? "rb" : "wb"));
    if (!file) return kFailure;
    *out = new FileStream(std::move(file));
    return kOk;
} catch (std::bad_alloc const&) {
    return kOutOfMemory;
}

}  // namespace qzil::platform
