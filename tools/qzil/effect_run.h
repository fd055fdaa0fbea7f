#pragma once

#include "catalog/catalog.h"
#include "command.h"
#include "media/picture.h"
#include "settings.h"
#include "working_format.h"

#include <chrono>
#include <span>
#include <vector>

namespace qzil::command {

/// A result of an effect.
struct NamedNumbers {
    std::string sName;
    std::vector<double> oNumbers;
};

/// An effect with all that it is told, ready for frames of one size and format. All throw Failure.
class EffectRun {
public:
    /// `sizes` are those of the inputs. A mask that is not given yet has its size.
    EffectRun(Settings const& settings, StageFormats const& formats, std::vector<qzILVector2l> const& sizes,
              std::optional<qzILVector2l> const& maskSize);

    qzILVector2l const& OutputSize() const { return m_oOutputSize; }
    /// An image for the output, of undefined content.
    Ref<IXFImage> MakeOutput() const;
    /// The mask, in catalog::MaskFormatFor the inputs, which lives until the next one.
    void SetMask(Ref<IXFImage> mask);
    /// What the output shows where the effect leaves it alone, instead of the first input.
    void SetOnto(Ref<IXFImage> image) { m_oOnto = std::move(image); }
    /// Moves all that changes to its value at a frame.
    void MoveTo(long long frame, long long frames, bool smooth);
    /// Runs the effect. Outside its region an output becomes a copy of the first input, or transparent black where the
    /// sizes differ. Absent inputs and outputs are null. Returns the effect's own time.
    std::chrono::duration<double> Execute(std::span<Ref<IXFImage> const> inputs,
                                          std::span<Ref<IXFImage> const> outputs);
    /// What the effect found.
    std::vector<NamedNumbers> Results();

private:
    catalog::Entry const& Entry() const { return *m_oSettings.pEntry; }
    qzILProcessor& Effect() { return m_oInstance.Effect(); }
    void SetRegion();
    void CheckMask(std::optional<qzILVector2l> const& size);
    void SetMaskPlace();
    void SetMode();
    void FillSurroundings(std::span<Ref<IXFImage> const> inputs, IXFImage& output) const;

    Settings m_oSettings;  ///< at the present frame
    catalog::Instance m_oInstance;
    StageFormats m_oFormats;
    std::vector<qzILVector2l> m_oSizes;
    qzILVector2l m_oInputSize;
    qzILVector2l m_oOutputSize;
    Ref<IXFImage> m_oMask;
    Ref<IXFImage> m_oOnto;
    qzILVector2l m_oMaskSize;
    bool m_bCoversOutput = false;  ///< the region is the whole output
};

/// The picture as an image; a Failure of the effect when that cannot be made.
Ref<IXFImage> MakeImage(catalog::Entry const& entry, media::Picture const& picture, GUID const& format);
/// Runs a step; an error of the media layer becomes a Failure of the effect.
template <class Step>
auto NamingEffect(catalog::Entry const& entry, Step step) {
    return WithCode(kRefused, step, entry.sName + ": ");
}

}  // namespace qzil::command
