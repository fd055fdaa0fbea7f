#pragma once

#include "qzil/platform/com.h"

#include <cstdint>

namespace qzil::test {

/// Passes reads and writes on to a stream and fails the n-th of them (from 1; 0 fails none). Lives on the stack.
class FailingStream final : public IStream {
public:
    FailingStream(IStream* inner, int failingCall, HRESULT result)
        : m_pInner(inner), m_iFailingCall(failingCall), m_iResult(result) {}

    int Calls() const { return m_iCalls; }

    HRESULT QueryInterface(GUID const&, void** out) override {
        *out = nullptr;
        return platform::kNoInterface;
    }
    std::uint32_t AddRef() override { return 2; }
    std::uint32_t Release() override { return 1; }
    HRESULT Read(void* bytes, std::uint32_t size, std::uint32_t* read) override {
        return ++m_iCalls == m_iFailingCall ? m_iResult : m_pInner->Read(bytes, size, read);
    }
    HRESULT Write(void const* bytes, std::uint32_t size, std::uint32_t* written) override {
        return ++m_iCalls == m_iFailingCall ? m_iResult : m_pInner->Write(bytes, size, written);
    }

private:
    IStream* m_pInner;
    int m_iFailingCall;
    HRESULT m_iResult;
    int m_iCalls = 0;
};

}  // namespace qzil::test
