#include "qzil/platform/com.h"

#include "qzil/platform/sync.h"

#include <map>
#include <mutex>
#include <new>

namespace qzil::platform {
namespace {

/// Interface pointers under way between threads. A stream carries a ticket and never an address, so that a foreign or
/// damaged stream cannot make the library follow a wild pointer.
class MarshalTickets {
public:
    std::uint64_t Issue(IUnknown* pObject) {
        std::lock_guard<std::mutex> const lock(m_oMutex);
        m_oObjects.emplace(++m_uLast, pObject);
        pObject->AddRef();
        return m_uLast;
    }
    /// Takes the object of a ticket out of the table, with its reference; null for a ticket never issued or used up.
    IUnknown* Redeem(std::uint64_t ticket) {
        std::lock_guard<std::mutex> const lock(m_oMutex);
        auto const found = m_oObjects.find(ticket);
        if (found == m_oObjects.end()) return nullptr;
        IUnknown* const pObject = found->second;
        m_oObjects.erase(found);
        return pObject;
    }

private:
    std::mutex m_oMutex;
    std::map<std::uint64_t, IUnknown*> m_oObjects;
    std::uint64_t m_uLast = 0;
};

MarshalTickets& Tickets() {
    static MarshalTickets l_oTickets;
    return l_oTickets;
}

class FreeThreadedMarshaler final : public IUnknown {
public:
    explicit FreeThreadedMarshaler(IUnknown* pOuter) : m_oMarshal(*this, pOuter) {}

    HRESULT QueryInterface(GUID const& iid, void** out) override {
        if (!out) return kInvalidArgument;
        *out = nullptr;
        if (iid == IID_IMarshal) {
            m_oMarshal.AddRef();
            *out = static_cast<IMarshal*>(&m_oMarshal);
            return kOk;
        }
        if (iid == IID_IUnknown) {
            AddRef();
            *out = static_cast<IUnknown*>(this);
            return kOk;
        }
        return kNoInterface;
    }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(InterlockedIncrement(&m_iCount)); }
    std::uint32_t Release() override {
        auto const count = InterlockedDecrement(&m_iCount);
        if (count == 0) delete this;
        return static_cast<std::uint32_t>(count);
    }

private:
    class Marshal final : public IMarshal {
    public:
        Marshal(FreeThreadedMarshaler& owner, IUnknown* pOuter) : m_oOwner(owner), m_pOuter(pOuter) {}

        HRESULT QueryInterface(GUID const& iid, void** out) override { return Outer().QueryInterface(iid, out); }
        std::uint32_t AddRef() override { return Outer().AddRef(); }
        std::uint32_t Release() override { return Outer().Release(); }

        HRESULT MarshalInterface(IStream* stream, GUID const&, void* object) override try {
            if (!stream || !object) return kInvalidArgument;
            auto* const pObject = static_cast<IUnknown*>(object);
            std::uint64_t const ticket = Tickets().Issue(pObject);
            HRESULT const result = stream->Write(&ticket, sizeof ticket, nullptr);
            if (result < 0) Tickets().Redeem(ticket)->Release();
            return result < 0 ? result : kOk;
        } catch (std::bad_alloc const&) {
            return kOutOfMemory;
        }
        HRESULT UnmarshalInterface(IStream* stream, GUID const& iid, void** out) override {
            if (!out) return kInvalidArgument;
            *out = nullptr;
            IUnknown* pObject = nullptr;
            HRESULT result = Take(stream, &pObject);
            if (result < 0) return result;
            result = pObject->QueryInterface(iid, out);
            pObject->Release();
            return result;
        }
        HRESULT ReleaseMarshalData(IStream* stream) override {
            IUnknown* pObject = nullptr;
            HRESULT const result = Take(stream, &pObject);
            if (result >= 0) pObject->Release();
            return result;
        }

    private:
        IUnknown& Outer() { return m_pOuter ? *m_pOuter : static_cast<IUnknown&>(m_oOwner); }
        static HRESULT Take(IStream* stream, IUnknown** object) {
            if (!stream) return kInvalidArgument;
            std::uint64_t ticket = 0;
            HRESULT const result = stream->Read(&ticket, sizeof ticket, nullptr);
            if (result < 0) return result;
            *object = Tickets().Redeem(ticket);
            return *object ? kOk : kInvalidArgument;
        }

        FreeThreadedMarshaler& m_oOwner;
        IUnknown* m_pOuter;
    };

    ~FreeThreadedMarshaler() = default;

    std::int32_t m_iCount = 1;
    Marshal m_oMarshal;
};

}  // namespace

HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) {
    if (!marshaler) return kInvalidArgument;
    *marshaler = new (std::nothrow) FreeThreadedMarshaler(outer);
    return *marshaler ? kOk : kOutOfMemory;
}

}  // namespace qzil::platform
