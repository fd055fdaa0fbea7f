#pragma once

#include "qzil/frame/processor.h"
#include "qzil/image/color.h"
#include "qzil/image/image.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// Every effect of the library described as data. Hosts build their arguments, help and bindings from it, and tests and
/// benchmarks run over it.
namespace qzil::catalog {

/// The tables of a look-up effect. One table serves all channels.
struct Lut {
    std::vector<unsigned char> oBytes;   ///< 256 entries, or 65536 at b * 256 + a for two inputs
    std::vector<unsigned short> oWords;  ///< 65536 entries; none for two inputs
};

/// The taps of a convolution, row after row from the lowest line of the picture up; both sides odd.
struct Kernel {
    int iWidth = 0;
    int iHeight = 0;
    std::vector<float> oTaps;
};

/// The value of a parameter: real and angle, integer, choice or set of choices, flag, colour, look-up tables, two
/// numbers, kernel, several numbers and matrix, point, rectangle, text. Further images are inputs.
using Value = std::variant<double, long, bool, qzILColor, std::shared_ptr<Lut const>, qzILVector2f,
                           std::shared_ptr<Kernel const>, std::vector<double>, qzILVector2l, qzILBbox2l, std::string>;

/// A Set holds the sum of its choices, a Pair a number for x and one for y, an Angle degrees, Numbers as many as the
/// default has, a Matrix rows one after the other.
enum class Kind {
    Real,
    Integer,
    Flag,
    Choice,
    Color,
    Lut,
    Set,
    Pair,
    Kernel,
    Angle,
    Numbers,
    Matrix,
    Point,
    Rectangle,
    Text
};

/// Allowed numbers, both ends included.
struct Range {
    double dfMin = 0.0;
    double dfMax = 1.0;
};

/// A named number.
struct Choice {
    std::string sName;
    long iValue;
};

struct Parameter {
    std::string sEffect;
    std::string sName;
    Kind eKind = Kind::Real;
    std::string sUnit;  ///< empty for plain numbers
    Range oRange;       ///< of Real, Integer, Angle and every number of a Pair, Numbers and a Matrix
    std::vector<Choice> oChoices;
    std::string sDefault;  ///< in the form that ParseValue reads
    Value oDefault;
    std::string sHelp;
    bool bOpen = false;  ///< the effect's Verify takes other values, too; hosts stay within range and choices
    /// How texts become tables, of Kind::Lut, and what it reads.
    std::shared_ptr<Lut const> (*pParseLut)(std::string_view text) = nullptr;
    std::string sLutForms;

    /// Puts a value into an effect; tables of Kind::Lut go through the other one.
    std::function<void(qzILProcessor&, Value const&)> oSet;
    std::function<void(qzILProcessor&, void** tables)> oSetLut;
};

/// What a parameter takes, for sentences: "0 to 1", "one of zero, full, derived".
std::string Allowed(Parameter const& parameter);
/// Reads a value. Throws std::invalid_argument with a sentence of effect, parameter, value and what is allowed.
Value ParseValue(Parameter const& parameter, std::string_view text);
/// Reads "r,g,b" or "r,g,b,a", each from 0 to 1, or "#rrggbb" or "#rrggbbaa"; alpha is 1 when absent. Throws
/// std::invalid_argument.
qzILColor ParseColor(std::string_view text);
/// Reads taps: rows from the top of the picture down, ended by ';' or the line's end, taps apart by blanks or commas;
/// behind a '/' a number that all are divided by. '@PATH' reads such a text from a file. Throws std::invalid_argument.
std::shared_ptr<Kernel const> ParseKernel(std::string_view text);
/// Reads a whole text as a finite number. Throws std::invalid_argument.
double ParseReal(std::string_view text);

/// An image that an effect reads, or one that it writes.
struct Port {
    std::string sName;
    std::function<void(qzILProcessor&, IXFImage*)> oSet;
    bool bOptional = false;  ///< the effect runs without it
    std::string sHelp = {};  ///< what it is for, where the name does not tell
};

/// Numbers that an effect finds: one, or a row such as the bins of a histogram.
struct Result {
    std::string sName;
    std::string sHelp;
    std::function<std::vector<double>(qzILProcessor&)> oGet;
};

/// What an effect has of the frame; a function that is empty is not there.
struct Placement {
    std::function<void(qzILProcessor&, qzILBbox2l const&)> oRoi;
    std::function<void(qzILProcessor&, qzILVector2l const&)> oOutputOffset;
    std::function<void(qzILProcessor&, qzILBbox2l const&, IXFImage*, XFImageChannel)> oMask;
    std::function<void(qzILProcessor&, qzILColor const&)> oDefaultColor;
    std::function<void(qzILProcessor&, IXFImage*)> oDominant;
    std::function<void(qzILProcessor&, qzILVector2l const&)> oInputOffset;
};

/// How much memory a call may take beside its images.
enum class Memory {
    Views,   ///< small objects, such as views of planes
    Margin,  ///< a neighbourhood's buffer, a scratch image of floats and working lines
};

/// Formats of input and output.
struct FormatPair {
    GUID oFrom, oTo;
};

struct Entry;

/// An effect object with what it needs to live. The images are the caller's.
class Instance {
public:
    explicit Instance(Entry const& entry);

    Entry const& Describes() const { return *m_pEntry; }
    qzILProcessor& Effect() { return *m_pEffect; }
    void SetInput(std::size_t index, IXFImage* image);
    void SetOutput(IXFImage* image, std::size_t index = 0);
    /// Sets a parameter. A value out of its range is passed on, and Verify refuses it; std::invalid_argument for an
    /// unknown name or a value of another kind.
    void Set(std::size_t index, Value const& value);
    void Set(std::string_view name, Value const& value);

    /// Where the effect works; nothing happens for effects that have no such thing in their Placement. By default of
    /// two inputs a is dominant, and b lies at offset (0, 0).
    void SetRoi(qzILBbox2l const& roi);
    void SetOutputOffset(qzILVector2l const& offset);
    void SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel);
    void SetDefaultColor(qzILColor const& color);
    void SetDominant(bool b);
    void SetInputOffset(qzILVector2l const& offset);
    /// What the effect found, in the order of the entry's results.
    std::vector<double> ResultOf(std::size_t index);

private:
    /// The tables that a look-up effect points to.
    struct Tables {
        std::size_t uParameter;
        std::shared_ptr<Lut const> pLut;
        std::unique_ptr<void*[]> pPointers;
    };

    void ApplyTables();
    void ApplyDominant();

    Entry const* m_pEntry;
    std::unique_ptr<qzILProcessor> m_pEffect;
    std::vector<IXFImage*> m_oInputs;
    std::vector<Tables> m_oTables;
    std::vector<Value> m_oValues;  ///< keeps what effects only point to
    unsigned m_uChannelSize = 1;   ///< of the first input
    bool m_bDominantSet = false;
    bool m_bDominantB = false;
};

struct Entry {
    std::string sName;
    std::string sFamily;
    std::string sSummary;
    std::vector<Port> oInputs;
    std::vector<Port> oOutputs;
    std::vector<Result> oResults;
    Placement oPlacement;
    std::span<GUID const> oFormats;  ///< of all images; none for conversions
    std::vector<FormatPair> oPairs;  ///< of conversions
    std::vector<Parameter> oParameters;
    bool bMaskRequired = false;
    bool bRefusesMask = false;
    bool bUpdates = false;  ///< leaves parts of the output as they are: hosts copy the input there first
    /// With these values and this format a pixel depends on where its region begins, so that a part is not the part of
    /// the whole; never, where there is no function.
    std::function<bool(std::span<Value const>, GUID const& format)> oRegionMatters;
    bool bBlackAround = false;  ///< with nothing to do it leaves black where there is no input, whatever the default
    bool bPollsFirst = false;   ///< the interrupt is asked before any line is written
    Memory eMemory = Memory::Views;
    std::unique_ptr<qzILProcessor> (*pCreate)() = nullptr;

    /// It has a dominant input and an input offset.
    bool HasTwoInputs() const { return static_cast<bool>(oPlacement.oDominant); }
    bool TakesMask() const { return oPlacement.oMask && !bRefusesMask; }
    /// The inputs that it does not run without; those that may be absent stand behind them.
    std::size_t RequiredInputs() const;
    /// It finds numbers and makes no image.
    bool IsSink() const { return oOutputs.empty(); }
    /// It makes an image of nothing.
    bool IsGenerator() const { return oInputs.empty(); }

    /// A new effect with every parameter at its default. The entry must outlive it.
    Instance Make() const { return Instance(*this); }
    Parameter const* FindParameter(std::string_view name) const;
};

/// The mono format of masks over images of a format.
GUID MaskFormatFor(GUID const& format);

/// All effects, family by family.
std::span<Entry const> Effects();
/// The effects whose output has another format than their input.
std::span<Entry const> Conversions();
/// The effect or conversion of a name, or null.
Entry const* Find(std::string_view name);

/// A sentence for an error code that an effect gave: what is wrong, and what to do.
std::string ErrorSentence(Entry const& entry, qzILError error);

}  // namespace qzil::catalog
