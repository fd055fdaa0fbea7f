#pragma once

#include "qzil/frame/img_proc.h"

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

/// The value of a parameter: real, integer, choice or set of choices, flag, colour, look-up tables, two numbers,
/// kernel.
using Value = std::variant<double, long, bool, qzILColor, std::shared_ptr<Lut const>, qzILVector2f,
                           std::shared_ptr<Kernel const>>;

/// A Set holds the sum of its choices, a Pair a number for x and one for y.
enum class Kind { Real, Integer, Flag, Choice, Color, Lut, Set, Pair, Kernel };

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
    Range oRange;       ///< of Real, Integer and both numbers of a Pair
    std::vector<Choice> oChoices;
    std::string sDefault;  ///< in the form that ParseValue reads
    Value oDefault;
    std::string sHelp;
    bool bOpen = false;  ///< the effect's Verify takes other values, too; hosts stay within range and choices
    /// How texts become tables, of Kind::Lut, and what it reads.
    std::shared_ptr<Lut const> (*pParseLut)(std::string_view text) = nullptr;
    std::string sLutForms;

    /// Puts a value into an effect; tables of Kind::Lut go through the other one.
    std::function<void(qzILImgProc&, Value const&)> oSet;
    std::function<void(qzILImgProc&, void** tables)> oSetLut;
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

struct Input {
    std::string sName;
    std::function<void(qzILImgProc&, IXFImage*)> oSet;
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
    qzILImgProc& Effect() { return *m_pEffect; }
    void SetInput(std::size_t index, IXFImage* image);
    /// Sets a parameter. A value out of its range is passed on, and Verify refuses it; std::invalid_argument for an
    /// unknown name or a value of another kind.
    void Set(std::size_t index, Value const& value);
    void Set(std::string_view name, Value const& value);

    /// For effects with two inputs; nothing happens for others. By default input a is dominant, at offset (0, 0).
    void SetDominant(bool b);
    void SetInputOffset(qzILVector2l const& offset);

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
    std::unique_ptr<qzILImgProc> m_pEffect;
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
    std::vector<Input> oInputs;
    std::span<GUID const> oFormats;  ///< of all images; none for conversions
    std::vector<FormatPair> oPairs;  ///< of conversions
    std::vector<Parameter> oParameters;
    bool bMaskRequired = false;
    bool bTwoInputs = false;  ///< has a dominant input and an input offset
    bool bUpdates = false;    ///< leaves parts of the output as they are: hosts copy the input there first
    std::unique_ptr<qzILImgProc> (*pCreate)() = nullptr;

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
