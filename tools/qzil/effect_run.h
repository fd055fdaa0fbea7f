#pragma once

#include "catalog/catalog.h"
#include "command.h"
#include "media/picture.h"
#include "settings.h"

#include <chrono>
#include <span>
#include <vector>

namespace qzil::command {

/// An effect with all that it is told, ready for frames of one size and format. All throw Failure.
class EffectRun {
public:
    /// `sizes` are those of the inputs. An empty `mask` is none.
    EffectRun(Settings const& settings, GUID const& format, std::vector<qzILVector2l> const& sizes,
              media::Picture const& mask);

    qzILVector2l const& OutputSize() const { return m_oOutputSize; }
    /// An image for the output, of undefined content.
    Ref<IXFImage> MakeOutput() const;
    void SetParameter(std::size_t index, catalog::Value const& value) { m_oInstance.Set(index, value); }
    /// Runs the effect. Outside its region the output becomes a copy of the first input, or transparent black where the
    /// sizes differ. Returns the effect's own time.
    std::chrono::duration<double> Execute(std::span<Ref<IXFImage> const> inputs, IXFImage& output);

private:
    catalog::Entry const& Entry() const { return *m_oSettings.pEntry; }
    qzILProcessor& Effect() { return m_oInstance.Effect(); }
    void SetRegion(std::vector<qzILVector2l> const& sizes);
    void SetMask(media::Picture const& picture);
    void SetMode();
    void FillSurroundings(IXFImage& input, IXFImage& output) const;

    Settings const& m_oSettings;
    catalog::Instance m_oInstance;
    GUID m_oFormat;
    qzILVector2l m_oInputSize;
    qzILVector2l m_oOutputSize;
    Ref<IXFImage> m_oMask;
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
