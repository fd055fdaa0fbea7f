#pragma once

#include "qzil/platform/api.h"
#include "qzil/platform/guid.h"

#include <cstdint>

/// 32-bit result of interfaces and free image functions: 0 success, negative failure.
using HRESULT = std::int32_t;

namespace qzil::platform {

constexpr HRESULT Result(std::uint32_t code) {
    return static_cast<HRESULT>(code);
}

inline constexpr HRESULT kOk = 0;
inline constexpr HRESULT kFalse = 1;
inline constexpr HRESULT kNotImplemented = Result(0x80004001);
inline constexpr HRESULT kNoInterface = Result(0x80004002);
inline constexpr HRESULT kNullPointer = Result(0x80004003);
inline constexpr HRESULT kFailure = Result(0x80004005);
inline constexpr HRESULT kUnexpected = Result(0x8000FFFF);
inline constexpr HRESULT kNoAggregation = Result(0x80040110);
inline constexpr HRESULT kOutOfMemory = Result(0x8007000E);
inline constexpr HRESULT kInvalidArgument = Result(0x80070057);

}  // namespace qzil::platform

union ULARGE_INTEGER {
    __extension__ struct {
        std::uint32_t LowPart;
        std::uint32_t HighPart;
    };
    std::uint64_t QuadPart;
};

union LARGE_INTEGER {
    __extension__ struct {
        std::uint32_t LowPart;
        std::int32_t HighPart;
    };
    std::int64_t QuadPart;
};

inline constexpr GUID IID_IUnknown = qzil::platform::MakeGuid("00000000-0000-0000-c000-000000000046");
inline constexpr GUID IID_IMarshal = qzil::platform::MakeGuid("00000003-0000-0000-c000-000000000046");
inline constexpr GUID IID_IStream = qzil::platform::MakeGuid("0000000c-0000-0000-c000-000000000046");
inline constexpr GUID IID_IPersist = qzil::platform::MakeGuid("0000010c-0000-0000-c000-000000000046");
inline constexpr GUID IID_IPersistStream = qzil::platform::MakeGuid("00000109-0000-0000-c000-000000000046");

/// Reference-counted object with several interfaces.
class IUnknown {
public:
    /// Hands out a counted pointer to the interface `iid`, or clears `*out` and fails.
    virtual HRESULT QueryInterface(GUID const& iid, void** out) = 0;
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

protected:
    ~IUnknown() = default;
};

/// Byte stream. A read at the end succeeds with fewer bytes than asked for; only a negative result is a failure.
/// Implementations give Read and Write; the rest is optional and answers 0x80004001.
class IStream : public IUnknown {
public:
    virtual HRESULT Read(void* bytes, std::uint32_t size, std::uint32_t* read) = 0;
    virtual HRESULT Write(void const* bytes, std::uint32_t size, std::uint32_t* written) = 0;
    /// `origin`: 0 from the start, 1 from here, 2 from the end.
    virtual HRESULT Seek(LARGE_INTEGER, std::uint32_t /*origin*/, ULARGE_INTEGER* /*position*/) {
        return qzil::platform::kNotImplemented;
    }
    virtual HRESULT SetSize(ULARGE_INTEGER) { return qzil::platform::kNotImplemented; }

protected:
    ~IStream() = default;
};

/// Object that keeps its state in a stream.
class IPersistStream : public IUnknown {
public:
    virtual HRESULT GetClassID(GUID* classId) = 0;
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT Load(IStream* stream) = 0;
    virtual HRESULT Save(IStream* stream, int clearDirty) = 0;
    virtual HRESULT GetSizeMax(ULARGE_INTEGER* size) = 0;

protected:
    ~IPersistStream() = default;
};

/// Passes interface pointers between threads of one process.
class IMarshal : public IUnknown {
public:
    virtual HRESULT MarshalInterface(IStream* stream, GUID const& iid, void* object) = 0;
    virtual HRESULT UnmarshalInterface(IStream* stream, GUID const& iid, void** out) = 0;
    virtual HRESULT ReleaseMarshalData(IStream* stream) = 0;

protected:
    ~IMarshal() = default;
};

namespace qzil::platform {

/// Makes an object that marshals `outer` within the process by a ticket; what is never unmarshalled keeps `outer`
/// alive. `*marshaler` is the object's own IUnknown, counted once; the IMarshal it answers shares the life of `outer`.
QZIL_API HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler);

/// Counted pointer to an interface.
template <class T>
class Ref {
public:
    Ref() = default;
    /// Takes over a reference that the caller holds.
    explicit Ref(T* pOwned) : m_p(pOwned) {}
    Ref(Ref const& other) : m_p(other.m_p) {
        if (m_p) m_p->AddRef();
    }
    Ref(Ref&& other) noexcept : m_p(other.Detach()) {}
    Ref& operator=(Ref other) noexcept {
        T* const pOld = m_p;
        m_p = other.m_p;
        other.m_p = pOld;
        return *this;
    }
    ~Ref() { Reset(); }

    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }

    void Reset() {
        if (T* const pOld = Detach()) pOld->Release();
    }
    T* Detach() {
        T* const p = m_p;
        m_p = nullptr;
        return p;
    }
    /// Place for a function that hands out an interface; what was held is released first.
    void** Out() {
        Reset();
        return reinterpret_cast<void**>(&m_p);
    }
    T** Typed() {
        Reset();
        return &m_p;
    }

private:
    T* m_p = nullptr;
};

}  // namespace qzil::platform

namespace qzil {
using platform::Ref;
}
