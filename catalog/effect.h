#pragma once

#include "catalog/catalog.h"
#include "qzil/frame/dyadic.h"
#include "qzil/image/formats.h"

#include <type_traits>
#include <utility>

// How the catalogue's entries are written. A setter is a member function of the effect, or any function of the effect
// and a value.

namespace qzil::catalog {

template <class E>
class Effect {
public:
    Effect(char const* name, char const* family, char const* summary) {
        m_oEntry.sName = name;
        m_oEntry.sFamily = family;
        m_oEntry.sSummary = summary;
        m_oEntry.bTwoInputs = std::is_base_of_v<qzILDyadicImgProc, E>;
        m_oEntry.pCreate = []() -> std::unique_ptr<qzILImgProc> { return std::make_unique<E>(); };
        if constexpr (requires { E::GetFormats(); }) m_oEntry.oFormats = E::GetFormats();
    }
    operator Entry() const { return m_oEntry; }

    template <class Setter>
    Effect& Input(char const* name, Setter setter) {
        auto const set = [setter](qzILImgProc& effect, IXFImage* image) { std::invoke(setter, AsE(effect), image); };
        m_oEntry.oInputs.push_back({name, set});
        return *this;
    }

    /// For effects that have no list of their own. The formats must outlive the catalogue.
    Effect& Formats(std::span<GUID const> formats) {
        m_oEntry.oFormats = formats;
        return *this;
    }

    /// The pairs that a conversion serves, of all formats with pixels of a known layout.
    Effect& Pairs(bool (*converts)(GUID const& from, GUID const& to)) {
        for (NamedFormat const& from : AllFormats()) {
            for (NamedFormat const& to : AllFormats()) {
                if (converts(from.oFormat, to.oFormat)) m_oEntry.oPairs.push_back({from.oFormat, to.oFormat});
            }
        }
        return *this;
    }

    Effect& Updates() {
        m_oEntry.bUpdates = true;
        return *this;
    }

    Effect& MaskRequired() {
        m_oEntry.bMaskRequired = true;
        return *this;
    }

    template <class Setter>
    Effect& Real(char const* name, Setter setter, Range range, char const* defaultText, char const* help,
                 char const* unit = "") {
        Parameter parameter = New(name, Kind::Real, help, unit);
        parameter.oRange = range;
        return Add<double, double>(std::move(parameter), setter, defaultText);
    }

    template <class Setter>
    Effect& Integer(char const* name, Setter setter, Range range, char const* defaultText, char const* help,
                    char const* unit = "") {
        Parameter parameter = New(name, Kind::Integer, help, unit);
        parameter.oRange = range;
        return Add<long, int>(std::move(parameter), setter, defaultText);
    }

    template <class Setter>
    Effect& Flag(char const* name, Setter setter, char const* defaultText, char const* help) {
        return Add<bool, int>(New(name, Kind::Flag, help), setter, defaultText);
    }

    template <class Setter>
    Effect& Choice(char const* name, Setter setter, std::vector<catalog::Choice> choices, char const* defaultText,
                   char const* help, bool takesAny = false) {
        Parameter parameter = New(name, Kind::Choice, help);
        parameter.oChoices = std::move(choices);
        parameter.bTakesAny = takesAny;
        return Add<long, unsigned>(std::move(parameter), setter, defaultText);
    }

    template <class Setter>
    Effect& Color(char const* name, Setter setter, char const* defaultText, char const* help) {
        return Add<qzILColor, qzILColor const&>(New(name, Kind::Color, help), setter, defaultText);
    }

    /// `forms` tells in words what `parse` reads.
    template <class Setter>
    Effect& Lut(char const* name, Setter setter, std::shared_ptr<catalog::Lut const> (*parse)(std::string_view),
                char const* forms, char const* defaultText, char const* help) {
        Parameter parameter = New(name, Kind::Lut, help);
        parameter.pParseLut = parse;
        parameter.sLutForms = forms;
        parameter.oSetLut = [setter](qzILImgProc& effect, void** tables) { std::invoke(setter, AsE(effect), tables); };
        Finish(std::move(parameter), defaultText);
        return *this;
    }

private:
    static E& AsE(qzILImgProc& effect) { return static_cast<E&>(effect); }

    Parameter New(char const* name, Kind kind, char const* help, char const* unit = "") const {
        Parameter parameter;
        parameter.sEffect = m_oEntry.sName;
        parameter.sName = name;
        parameter.eKind = kind;
        parameter.sHelp = help;
        parameter.sUnit = unit;
        return parameter;
    }

    /// `Stored` is the alternative of Value, `Passed` what the setter takes.
    template <class Stored, class Passed, class Setter>
    Effect& Add(Parameter parameter, Setter setter, char const* defaultText) {
        parameter.oSet = [setter](qzILImgProc& effect, Value const& value) {
            std::invoke(setter, AsE(effect), static_cast<Passed>(std::get<Stored>(value)));
        };
        Finish(std::move(parameter), defaultText);
        return *this;
    }

    void Finish(Parameter parameter, char const* defaultText) {
        parameter.sDefault = defaultText;
        parameter.oDefault = ParseValue(parameter, defaultText);
        m_oEntry.oParameters.push_back(std::move(parameter));
    }

    Entry m_oEntry;
};

/// Tables of a curve of one channel: "invert", "gamma:2.2", "posterize:4", or points "0:0,0.5:0.7,1:1".
std::shared_ptr<Lut const> ParseCurve(std::string_view text);
/// Tables of a rule of two channels: multiply, screen, difference, add, min or max.
std::shared_ptr<Lut const> ParsePairRule(std::string_view text);

// The families, each in a source of its own.
std::vector<Entry> FrameEffects();
std::vector<Entry> PixelEffects();
std::vector<Entry> ConvertEffects();

}  // namespace qzil::catalog
