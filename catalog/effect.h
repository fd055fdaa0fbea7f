#pragma once

#include "catalog/catalog.h"
#include "qzil/frame/dyadic.h"
#include "qzil/frame/sink.h"
#include "qzil/frame/spatial.h"
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
        m_oEntry.pCreate = []() -> std::unique_ptr<qzILProcessor> { return std::make_unique<E>(); };
        if constexpr (requires { E::GetFormats(); }) m_oEntry.oFormats = E::GetFormats();
        if constexpr (std::is_base_of_v<qzILMonadicSpatialProc, E>) m_oEntry.eMemory = Memory::Margin;
        if constexpr (requires { &E::SetOutputImg; }) Output("output", &E::SetOutputImg);
        SetPlacement();
    }
    operator Entry() const { return m_oEntry; }

    template <class Setter>
    Effect& Input(char const* name, Setter setter) {
        m_oEntry.oInputs.push_back(PortOf(name, setter));
        return *this;
    }

    /// An image that the effect may be given beside its inputs.
    template <class Setter>
    Effect& FurtherInput(char const* name, Setter setter, char const* help) {
        Port port = PortOf(name, setter);
        port.bOptional = true;
        port.sHelp = help;
        m_oEntry.oInputs.push_back(std::move(port));
        return *this;
    }

    /// Every effect with SetOutputImg has "output" as its first one by itself.
    template <class Setter>
    Effect& Output(char const* name, Setter setter) {
        Port port = PortOf(name, setter);
        port.bOptional = !m_oEntry.oOutputs.empty();
        m_oEntry.oOutputs.push_back(std::move(port));
        return *this;
    }

    /// `getter` gives a vector of numbers.
    template <class Getter>
    Effect& Result(char const* name, Getter getter, char const* help) {
        auto const get = [getter](qzILProcessor& effect) -> std::vector<double> {
            return std::invoke(getter, AsE(effect));
        };
        m_oEntry.oResults.push_back({name, help, get});
        return *this;
    }

    /// `when` takes the values of the parameters and the format.
    template <class When>
    Effect& RegionMatters(When when) {
        m_oEntry.oRegionMatters = when;
        return *this;
    }
    Effect& BlackAround() {
        m_oEntry.bBlackAround = true;
        return *this;
    }
    Effect& PollsFirst() {
        m_oEntry.bPollsFirst = true;
        return *this;
    }
    /// The effect refuses every mask.
    Effect& NoMask() {
        m_oEntry.bRefusesMask = true;
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
        m_oEntry.bRefusesMask = true;
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

    /// The effect takes values of the last parameter beyond what the catalogue names.
    Effect& Open() {
        m_oEntry.oParameters.back().bOpen = true;
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
                   char const* help) {
        Parameter parameter = New(name, Kind::Choice, help);
        parameter.oChoices = std::move(choices);
        return Add<long, unsigned>(std::move(parameter), setter, defaultText);
    }

    template <class Setter>
    Effect& Set(char const* name, Setter setter, std::vector<catalog::Choice> choices, char const* defaultText,
                char const* help) {
        Parameter parameter = New(name, Kind::Set, help);
        parameter.oChoices = std::move(choices);
        return Add<long, unsigned>(std::move(parameter), setter, defaultText);
    }

    /// The setter takes a qzILVector2f.
    template <class Setter>
    Effect& Pair(char const* name, Setter setter, Range range, char const* defaultText, char const* help,
                 char const* unit = "") {
        Parameter parameter = New(name, Kind::Pair, help, unit);
        parameter.oRange = range;
        return Add<qzILVector2f, qzILVector2f>(std::move(parameter), setter, defaultText);
    }

    /// The setter takes a Kernel const&, which lives as long as the effect or until the next one.
    template <class Setter>
    Effect& Kernel(char const* name, Setter setter, char const* defaultText, char const* help) {
        Parameter parameter = New(name, Kind::Kernel, help);
        parameter.oSet = [setter](qzILProcessor& effect, Value const& value) {
            std::invoke(setter, AsE(effect), *std::get<std::shared_ptr<catalog::Kernel const>>(value));
        };
        Finish(std::move(parameter), defaultText);
        return *this;
    }

    template <class Setter>
    Effect& Angle(char const* name, Setter setter, Range range, char const* defaultText, char const* help) {
        Parameter parameter = New(name, Kind::Angle, help, "degrees");
        parameter.oRange = range;
        return Add<double, double>(std::move(parameter), setter, defaultText);
    }

    /// The setter takes a std::vector<double> const& of as many numbers as the default has.
    template <class Setter>
    Effect& Numbers(char const* name, Setter setter, Range range, char const* defaultText, char const* help,
                    char const* unit = "") {
        Parameter parameter = New(name, Kind::Numbers, help, unit);
        parameter.oRange = range;
        return Add<std::vector<double>, std::vector<double> const&>(std::move(parameter), setter, defaultText);
    }

    /// The same with rows of numbers, ';' between them.
    template <class Setter>
    Effect& Matrix(char const* name, Setter setter, Range range, char const* defaultText, char const* help) {
        Parameter parameter = New(name, Kind::Matrix, help);
        parameter.oRange = range;
        return Add<std::vector<double>, std::vector<double> const&>(std::move(parameter), setter, defaultText);
    }

    template <class Setter>
    Effect& Point(char const* name, Setter setter, char const* defaultText, char const* help) {
        return Add<qzILVector2l, qzILVector2l const&>(New(name, Kind::Point, help, "pixels"), setter, defaultText);
    }

    template <class Setter>
    Effect& Rectangle(char const* name, Setter setter, char const* defaultText, char const* help) {
        return Add<qzILBbox2l, qzILBbox2l const&>(New(name, Kind::Rectangle, help, "pixels"), setter, defaultText);
    }

    template <class Setter>
    Effect& Text(char const* name, Setter setter, char const* defaultText, char const* help) {
        return Add<std::string, std::string const&>(New(name, Kind::Text, help), setter, defaultText);
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
        parameter.oSetLut = [setter](qzILProcessor& effect, void** tables) {
            std::invoke(setter, AsE(effect), tables);
        };
        Finish(std::move(parameter), defaultText);
        return *this;
    }

private:
    static E& AsE(qzILProcessor& effect) { return static_cast<E&>(effect); }

    template <class Setter>
    static Port PortOf(char const* name, Setter setter) {
        return {name, [setter](qzILProcessor& effect, IXFImage* image) { std::invoke(setter, AsE(effect), image); }};
    }

    /// What of the frame the class has.
    void SetPlacement() {
        Placement& place = m_oEntry.oPlacement;
        if constexpr (requires(E & e, qzILBbox2l const& box) { e.SetROI(box); }) {
            place.oRoi = [](qzILProcessor& e, qzILBbox2l const& box) { AsE(e).SetROI(box); };
        }
        if constexpr (std::is_base_of_v<qzILSinkImgProc, E>) {
            // A sink's region is the rectangle of its mask.
            place.oRoi = [](qzILProcessor& e, qzILBbox2l const& box) {
                IXFImage* image = nullptr;
                XFImageChannel channel = XFImageChannelMono;
                AsE(e).GetMask(&image, &channel);
                AsE(e).SetMask(box, image, channel);
            };
        }
        if constexpr (requires(E & e, qzILVector2l offset) { e.SetOutputOffset(offset); }) {
            place.oOutputOffset = [](qzILProcessor& e, qzILVector2l offset) { AsE(e).SetOutputOffset(offset); };
        }
        if constexpr (requires(E & e, qzILBbox2l const& box, IXFImage* image) { e.SetMask(box, image, 1u); }) {
            place.oMask = [](qzILProcessor& e, qzILBbox2l const& box, IXFImage* image, XFImageChannel channel) {
                AsE(e).SetMask(box, image, channel);
            };
        }
        if constexpr (requires(E & e, qzILColor const& color) { e.SetDefaultColor(color); }) {
            place.oDefaultColor = [](qzILProcessor& e, qzILColor const& color) { AsE(e).SetDefaultColor(color); };
        }
        if constexpr (std::is_base_of_v<qzILDyadicImgProc, E>) {
            place.oDominant = [](qzILProcessor& e, IXFImage* image) { AsE(e).SetDominantInput(image); };
            place.oInputOffset = [](qzILProcessor& e, qzILVector2l const& offset) { AsE(e).SetInputOffset(offset); };
        }
    }

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
        parameter.oSet = [setter](qzILProcessor& effect, Value const& value) {
            std::invoke(setter, AsE(effect), static_cast<Passed>(std::get<Stored>(value)));
        };
        Finish(std::move(parameter), defaultText);
        return *this;
    }

    void Finish(Parameter parameter, char const* defaultText) {
        // Not assigned as characters: inlined, that makes GCC 12 warn of an overlap that cannot be.
        parameter.sDefault = std::string(defaultText);
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
std::vector<Entry> KeyingEffects();
std::vector<Entry> SpatialEffects();
std::vector<Entry> FieldEffects();
std::vector<Entry> AnalysisEffects();
std::vector<Entry> TransformEffects();
std::vector<Entry> WipeEffects();
std::vector<Entry> ConvertEffects();

}  // namespace qzil::catalog
