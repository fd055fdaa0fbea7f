#include "catalog/catalog.h"

#include "catalog/effect.h"

#include <algorithm>
#include <stdexcept>

namespace qzil::catalog {

Instance::Instance(Entry const& entry)
    : m_pEntry(&entry),
      m_pEffect(entry.pCreate()),
      m_oInputs(entry.oInputs.size()),
      m_oValues(entry.oParameters.size()) {
    for (std::size_t i = 0; i < entry.oParameters.size(); ++i) Set(i, entry.oParameters[i].oDefault);
}

void Instance::SetInput(std::size_t index, IXFImage* image) {
    m_pEntry->oInputs.at(index).oSet(*m_pEffect, image);
    m_oInputs[index] = image;
    // Read now: the image may be gone by the time that a parameter is set.
    if (index == 0 && image) image->GetChannelSize(&m_uChannelSize);
    ApplyTables();
    ApplyDominant();
}

void Instance::SetOutput(IXFImage* image, std::size_t index) {
    m_pEntry->oOutputs.at(index).oSet(*m_pEffect, image);
}

void Instance::Set(std::size_t index, Value const& value) {
    Parameter const& parameter = m_pEntry->oParameters.at(index);
    if (value.index() != parameter.oDefault.index()) {
        throw std::invalid_argument(parameter.sEffect + ": --" + parameter.sName + " takes " + Allowed(parameter) +
                                    ".");
    }
    if (parameter.eKind != Kind::Lut) {
        parameter.oSet(*m_pEffect, value);
        m_oValues[index] = value;
        return;
    }
    auto const& lut = std::get<std::shared_ptr<Lut const>>(value);
    auto const found = std::find_if(m_oTables.begin(), m_oTables.end(),
                                    [index](Tables const& tables) { return tables.uParameter == index; });
    if (found != m_oTables.end()) {
        found->pLut = lut;
    } else {
        m_oTables.push_back({index, lut, std::make_unique<void*[]>(4)});
    }
    ApplyTables();
}

void Instance::Set(std::string_view name, Value const& value) {
    Parameter const* const pParameter = m_pEntry->FindParameter(name);
    if (!pParameter) {
        throw std::invalid_argument(m_pEntry->sName + " has no parameter '" + std::string(name) + "'.");
    }
    Set(static_cast<std::size_t>(pParameter - m_pEntry->oParameters.data()), value);
}

/// Points the effect at the tables that suit the channel size of its first input.
void Instance::ApplyTables() {
    for (Tables const& tables : m_oTables) {
        void const* pTable = nullptr;
        if (tables.pLut && m_uChannelSize == 1 && !tables.pLut->oBytes.empty()) pTable = tables.pLut->oBytes.data();
        if (tables.pLut && m_uChannelSize == 2 && !tables.pLut->oWords.empty()) pTable = tables.pLut->oWords.data();
        // The effects take writable pointers, and only read.
        std::fill_n(tables.pPointers.get(), 4, const_cast<void*>(pTable));
        m_pEntry->oParameters[tables.uParameter].oSetLut(*m_pEffect, tables.pPointers.get());
    }
}

void Instance::SetDominant(bool b) {
    m_bDominantSet = true;
    m_bDominantB = b;
    ApplyDominant();
}

void Instance::ApplyDominant() {
    if (!m_pEntry->HasTwoInputs() || !m_bDominantSet || m_oInputs.size() < 2) return;
    m_pEntry->oPlacement.oDominant(*m_pEffect, m_oInputs[m_bDominantB ? 1 : 0]);
}

void Instance::SetInputOffset(qzILVector2l const& offset) {
    if (m_pEntry->oPlacement.oInputOffset) m_pEntry->oPlacement.oInputOffset(*m_pEffect, offset);
}

void Instance::SetRoi(qzILBbox2l const& roi) {
    if (m_pEntry->oPlacement.oRoi) m_pEntry->oPlacement.oRoi(*m_pEffect, roi);
}

void Instance::SetOutputOffset(qzILVector2l const& offset) {
    if (m_pEntry->oPlacement.oOutputOffset) m_pEntry->oPlacement.oOutputOffset(*m_pEffect, offset);
}

void Instance::SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel) {
    if (m_pEntry->oPlacement.oMask) m_pEntry->oPlacement.oMask(*m_pEffect, rectangle, image, channel);
}

void Instance::SetDefaultColor(qzILColor const& color) {
    if (m_pEntry->oPlacement.oDefaultColor) m_pEntry->oPlacement.oDefaultColor(*m_pEffect, color);
}

std::vector<double> Instance::ResultOf(std::size_t index) {
    return m_pEntry->oResults.at(index).oGet(*m_pEffect);
}

std::size_t Entry::RequiredInputs() const {
    return static_cast<std::size_t>(
        std::count_if(oInputs.begin(), oInputs.end(), [](Port const& port) { return !port.bOptional; }));
}

Parameter const* Entry::FindParameter(std::string_view name) const {
    auto const found =
        std::find_if(oParameters.begin(), oParameters.end(), [name](auto const& known) { return known.sName == name; });
    return found != oParameters.end() ? &*found : nullptr;
}

std::span<Entry const> Effects() {
    static std::vector<Entry> const l_oEffects = [] {
        std::vector<Entry> all;
        for (auto const family :
             {FrameEffects, PixelEffects, KeyingEffects, SpatialEffects, FieldEffects, AnalysisEffects}) {
            std::vector<Entry> entries = family();
            std::move(entries.begin(), entries.end(), std::back_inserter(all));
        }
        return all;
    }();
    return l_oEffects;
}

std::span<Entry const> Conversions() {
    static std::vector<Entry> const l_oConversions = ConvertEffects();
    return l_oConversions;
}

GUID MaskFormatFor(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt16: return MFIF_MONO_RAW_16;
        case XFChannelTypeS2_14: return MFIF_MONO_S2_14;
        case XFChannelTypeFloat: return MFIF_MONO_FLOAT;
        default: return MFIF_MONO_RAW_8;
    }
}

Entry const* Find(std::string_view name) {
    for (std::span<Entry const> const all : {Effects(), Conversions()}) {
        auto const found =
            std::find_if(all.begin(), all.end(), [name](Entry const& entry) { return entry.sName == name; });
        if (found != all.end()) return &*found;
    }
    return nullptr;
}

}  // namespace qzil::catalog
