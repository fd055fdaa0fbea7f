#include "qzil/frame/frame_effects.h"

#include "qzil/frame/copy.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/color_correction.h"
#include "qzil/pixel/img_over_color.h"

namespace qzil {

HRESULT FillChannelsWithColor(IXFImage* image, qzILColor const& color, unsigned mode, qzILBbox2l const& box) {
    qzILBbox2l const inside = box.Intersect(WholeOf(image));
    if (inside.IsEmpty()) return platform::kOk;
    qzILColorBlendImg effect;
    effect.SetInputImg(image);
    effect.SetOutputImg(image);
    effect.SetROI(inside);
    effect.SetOutputOffset(inside.Origin);
    effect.SetProcessingMode(mode);
    effect.SetBlendColor(color);
    effect.SetAlpha(1.0);
    return effect.Execute() == 1 ? platform::kOk : platform::kFailure;
}

void ClearEffectGlobals() {
    qzILColorCorrectionImg::ClearMatrices();
}

}  // namespace qzil

void qzILImgProc::FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, IXFImage* image, int premultiplied,
                             qzILVector2l const& offset) {
    if (inner == outer) return;
    qzILBbox2l boxes[4];
    qzILSplitBoxes(inner, outer, &boxes[0], &boxes[1], &boxes[2], &boxes[3]);
    auto const run = [&](auto& effect, qzILBbox2l const& box) {
        effect.SetInputImg(image);
        effect.SetOutputImg(m_pOutputImg);
        effect.SetROI(qzil::Moved(box, offset - outer.Origin));
        effect.SetOutputOffset(box.Origin);
        effect.SetProcessingMode(m_uProcessingMode);
        effect.Execute();
    };
    for (qzILBbox2l const& box : boxes) {
        if (box.IsEmpty()) continue;
        if (premultiplied) {
            qzILImgOverColor effect;
            effect.SetForegroundOpacity(1.0);
            effect.SetBackgroundColor(qzILColor());
            run(effect, box);
        } else {
            qzILCopyImg effect;
            run(effect, box);
        }
    }
}
