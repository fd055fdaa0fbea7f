#pragma once

#include "qzil/frame/spatial.h"

#include <memory>

/// Applies a kernel of float taps: each channel becomes the sum of tap x sample over the neighbourhood, by correlation,
/// never flipped horizontally, plus an offset.
///
/// Kernel: (2 ry + 1) rows of (2 rx + 1) taps, row after row, from the lowest y on, with rx and ry the whole parts of
/// the radius. The array stays the caller's and has to live until Execute ends. Offset: in units of the channel, 0 to
/// 255 at 8 bits, 0 to 65535 at 16 bits; 0 at first.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16. A result is rounded and its low 8 or
/// 16 bits are kept: deliberately nothing is limited, so that a kernel that overshoots wraps round.
///
/// A kernel of more than one row and column that is a product of two factors (one singular value above 1e-6) runs as
/// two passes, horizontal and vertical. That path deliberately ignores the offset and applies the vertical factor
/// upside down. A mask mixes by the table of products at 8 bits, by the 16-bit mix otherwise.
///
/// Taps and offset that are not numbers pass Verify. A tap that is not a number, or not finite, makes a kernel run as
/// one pass; a sum that is not a number gives 0 in the low bits.
///
/// Verify adds 0x1000D for other formats, 0x10021 without a kernel. Execute: 0x10001 out of memory.
class QZIL_API qzILConvolveImg : public qzILMonadicSpatialProc {
    QZIL_EFFECT_CLASS(qzILConvolveImg)
public:
    qzILConvolveImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    virtual bool IsFormatSupported() const;
    virtual bool IsKernelSeparable();
    /// Writes a factor for each column of the kernel to `x`, for each row to `y`. -1 with 0x10021 without a kernel of
    /// that size, with 0x10001 without memory.
    virtual qzILStatus SeparateKernel(float* x, float* y);

    void Init();
    void Trash() {}
    void SetKernel(float* kernel, float radius) { SetKernel(kernel, qzILVector2f(radius, radius)); }
    void SetKernel(float* kernel, float x, float y) { SetKernel(kernel, qzILVector2f(x, y)); }
    void SetKernel(float* kernel, qzILVector2f radius);
    float* GetKernel() const { return m_pKernel; }
    void SetOffset(float offset) { m_fOffset = offset; }
    float GetOffset() const { return m_fOffset; }

    /// Bytes from the pixel of the first tap to the one under the centre.
    int CenterPixelOffset() const;
    /// Bytes from behind a kernel row's last pixel to the next row's first.
    int NextRow() const;

    qzILStatus SinglePassConvolve();
    qzILStatus SinglePassConvolve8_Float() { return RunSinglePass(); }
    qzILStatus SinglePassConvolve_MONO16() { return RunSinglePass(); }
    qzILStatus SinglePassConvolve_RGBA64() { return RunSinglePass(); }
    qzILStatus DualPassConvolve(float* x, float* y);
    qzILStatus DualPassConvolve_RGBA32(float* x, float* y) { return RunDualPass(x, y); }
    qzILStatus DualPassConvolve_RGBA32_Float(float* x, float* y) { return RunDualPass(x, y); }
    qzILStatus DualPassConvolve_MONO8(float* x, float* y) { return RunDualPass(x, y); }
    qzILStatus DualPassConvolve_MONO16(float* x, float* y) { return RunDualPass(x, y); }
    qzILStatus DualPassConvolve_RGBA64(float* x, float* y) { return RunDualPass(x, y); }
    /// Taps in 16.16, truncated; the result is limited to the channel. No effect of the library comes here.
    qzILStatus SinglePassConvolve8_Fixed();
    /// Taps in 16.16, rounded; rounded to whole numbers after the first pass, limited to the channel after the second.
    qzILStatus DualPassConvolve_RGBA32_Fixed(float* x, float* y);

    qzILStatus SinglePassConvolve_RGBA32_SSE2() const { return 1; }
    qzILStatus SinglePassConvolve_RGBA32_MMX() const { return 1; }
    qzILStatus SinglePassConvolve_RGBA32_Intrinsics() const { return 1; }
    qzILStatus DualPassConvolve_RGBA32_SSE2(float*, float*) const { return 1; }
    qzILStatus DualPassConvolve_RGBA32_MMX(float*, float*) const { return 1; }
    qzILStatus DualPassConvolve_RGBA32_Intrinsics(float*, float*) const { return 1; }

protected:
    /// Makes a kernel of this effect's own, all 0; null with 0x10001 without memory.
    float* MakeKernel(qzILVector2l size);
    void DropKernel();
    /// There are taps for the radius: a host's, or this effect's own of that size.
    bool HasKernel() const;

    float* m_pKernel;
    float m_fOffset;

private:
    qzILStatus RunSinglePass();
    qzILStatus RunDualPass(float const* x, float const* y);

    std::unique_ptr<float[]> m_pOwnKernel;
    qzILVector2l m_oOwnSize;
};
