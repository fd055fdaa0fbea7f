#pragma once

#include "qzil/image/core_values.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/lines.h"
#include "qzil/platform/api.h"

#include <cstddef>

namespace qzil {
struct FormatRow;
}
namespace qzil::kernel {
struct Walk;
template <template <class> class Rule, class... T>
struct Operation;
}  // namespace qzil::kernel

/// The parts that every effect class has: its name, and copies that take no setting along.
#define QZIL_EFFECT_CLASS(Class)                      \
public:                                               \
    static constexpr char m_ClassName[] = #Class;     \
    static char const* GetClassNameA() {              \
        return m_ClassName;                           \
    }                                                 \
    char const* GetActualClassName() const override { \
        return m_ClassName;                           \
    }                                                 \
    Class(Class const&) : Class() {                   \
    }                                                 \
    Class& operator=(Class const&) {                  \
        return *this;                                 \
    }

/// The same with a constructor, a Trash that has nothing to free, and an Init of the statements given, or of none.
#define QZIL_PLAIN_EFFECT_CLASS(Class, ...) \
    QZIL_EFFECT_CLASS(Class)                \
    Class() {                               \
        Init();                             \
    }                                       \
    void Init() {                           \
        __VA_ARGS__;                        \
    }                                       \
    void Trash() {                          \
    }

/// Holds the process-wide word that would select accelerated routines; it is always 0.
class QZIL_API qzILProcessorGlobalInitializer {
public:
    qzILProcessorGlobalInitializer() : m_iAccelerated(0) { Init(); }
    void Init() {}
    int GetAccelerated() const { return m_iAccelerated; }

private:
    std::int32_t m_iAccelerated;
};

/// An effect. A host sets its images and parameters, may call Verify, calls Execute, and reads GetLastError when that
/// returned -1. One object serves one Execute at a time, on the caller's thread, and may be executed again.
class QZIL_API qzILProcessor {
public:
    static constexpr char m_ClassName[] = "qzILProcessor";
    static qzILProcessorGlobalInitializer s_oGlobalInitializer;

    qzILProcessor();
    /// A copy has the initial values: no setting travels by copying.
    qzILProcessor(qzILProcessor const&) : qzILProcessor() {}
    qzILProcessor& operator=(qzILProcessor const&) { return *this; }
    virtual ~qzILProcessor() = default;

    virtual qzILStatus Execute() = 0;
    /// 1, or -1 with the reason in GetLastError. Execute does not call it. The base's own answer is 1.
    virtual qzILStatus Verify() = 0;
    virtual char const* GetActualClassName() const { return m_ClassName; }
    static char const* GetClassNameA() { return m_ClassName; }

    void Init();
    void Trash() {}

    /// Bits 1, 2, 4, 8: process the channel at place 0, 1, 2, 3 of a pixel in memory (8 is alpha). 0x100 and 0x200:
    /// leave out the lines with even and with odd y of the output. Default 7.
    void SetProcessingMode(unsigned mode) { m_uProcessingMode = mode; }
    unsigned GetProcessingMode() const { return m_uProcessingMode; }
    /// The reason of the last failure; a success leaves an older one standing.
    qzILError GetLastError() const { return m_oLastError; }
    void SetLastError(qzILError const& error) { m_oLastError = error; }
    /// A function and a flag that are asked between lines; when either is non-zero the effect ends, with success and an
    /// incomplete output. A null function answers 0.
    void SetInterruptFct(int (*function)(), int volatile* flag);

    /// Sets up a line walk over columns x to x + width - 1 from line y on. Each output may be null.
    /// The first pixel is that of the first line which the field bits of `mode` keep, the line jump leads from one
    /// pixel behind a kept line's end to the next kept line. Split-field images are walked whole, in memory order,
    /// unless one field bit is set. Alpha outputs are written for formats with an alpha plane only.
    static void ExtractJumps(qzILImageHelper& helper, int x, int y, int width, unsigned char** firstPixel,
                             unsigned char** lineZero, unsigned char** lineOne, int* pixelStep, int* lineJump,
                             int* twoLineJump, unsigned char** alphaFirstPixel, int* alphaLineJump, unsigned mode);
    static void ExtractJumps(IXFImage* image, int x, int y, int width, unsigned char** firstPixel,
                             unsigned char** lineZero, unsigned char** lineOne, int* pixelStep, int* lineJump,
                             int* twoLineJump, unsigned char** alphaFirstPixel, int* alphaLineJump, unsigned mode);
    static void ExtractJumps(unsigned char* pixels, GUID const& format, int imageWidth, int imageHeight, int x, int y,
                             int width, unsigned char** firstPixel, unsigned char** lineZero, unsigned char** lineOne,
                             int* pixelStep, int* lineJump, int* twoLineJump, unsigned char** alphaFirstPixel,
                             int* alphaLineJump, unsigned mode);

protected:
    /// What ExtractJumps gives, in the width of an address.
    struct Jumps {
        unsigned char* pFirst = nullptr;
        std::ptrdiff_t iLine = 0;
        std::ptrdiff_t iTwoLine = 0;
        unsigned char* pAlphaFirst = nullptr;
        std::ptrdiff_t iAlphaLine = 0;
    };
    static Jumps JumpsOf(qzILImageHelper const& helper, int x, int y, int width, unsigned mode);
    /// The lines of a view over a box, but for those that the field bits leave out; alpha lines only for a format with
    /// an alpha plane.
    qzil::Lines LinesOf(qzILImageHelper const& helper, qzILBbox2l const& box, qzil::Lines* alpha = nullptr) const;
    /// Tells a walk over a box, which counts kept lines only, where it lies and how it is interrupted.
    void SetPlace(qzil::kernel::Walk& walk, qzILBbox2l const& box) const;
    /// Runs the form that an operation has for a format over a walk, with the rule of the channel type T that
    /// `build(As<T>)` makes. Without a form it fails with a code.
    template <template <class> class Rule, class... T, class Build>
    QZIL_HIDDEN qzILStatus RunOver(qzil::kernel::Walk const& walk, qzil::FormatRow const& format,
                                   qzil::kernel::Operation<Rule, T...> const& operation, Build const& build,
                                   unsigned noForm = 0x1000D);
    qzILStatus WithoutForm(unsigned noForm);
    static int AlwaysFalse() { return 0; }
    bool IsInterrupted() const;
    /// False while no host has set a function or a flag: nobody can see in which order lines are done.
    bool HasInterrupt() const { return m_pInterruptFlag || m_pInterruptFct != AlwaysFalse; }
    /// Records a code and returns -1.
    qzILStatus Fail(unsigned code);
    /// An effect's own steps, one after the other: prepare, process unless interrupted, and clean up in any case.
    template <class Effect>
    qzILStatus RunSteps(Effect& effect) {
        qzILStatus status = effect.PrepareData();
        if (!IsInterrupted() && status == 1) status = effect.ProcessData();
        if (status == 1) return effect.CleanData();
        effect.CleanData();
        return status;
    }

    unsigned m_uProcessingMode;
    qzILError m_oLastError;
    int (*m_pInterruptFct)();
    int volatile* m_pInterruptFlag;
    std::int32_t m_iAccelerated;
};
