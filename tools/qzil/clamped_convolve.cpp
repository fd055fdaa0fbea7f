#include "clamped_convolve.h"

#include "command.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/pixel_math.h"
#include "qzil/spatial/convolve.h"

#include <algorithm>
#include <array>
#include <memory>

namespace qzil::command {

namespace {

std::size_t KernelIndex(catalog::Entry const& entry) {
    auto const found = std::find_if(entry.oParameters.begin(), entry.oParameters.end(),
                                    [](auto const& parameter) { return parameter.eKind == catalog::Kind::Kernel; });
    return static_cast<std::size_t>(found - entry.oParameters.begin());
}

/// A kernel that is a product of a row and a column is applied upside down, and without the bias.
bool IsProduct(catalog::Entry const& entry, std::shared_ptr<catalog::Kernel const> const& kernel) {
    catalog::Instance instance = entry.Make();
    instance.Set(KernelIndex(entry), kernel);
    auto* const pConvolve = dynamic_cast<qzILConvolveImg*>(&instance.Effect());
    return pConvolve && pConvolve->IsKernelSeparable();
}

struct Part {
    double dfTotal = 1.0;
    Ref<IXFImage> oSums;  ///< divided by the total; null for a part without weights
};

class ClampedConvolve {
public:
    ClampedConvolve(Settings const& settings, GUID const& format, Ref<IXFImage> const& input)
        : m_oSettings(settings),
          m_oFormats{format, format},
          m_oInput(input),
          m_uKernel(KernelIndex(*settings.pEntry)),
          m_pKernel(std::get<std::shared_ptr<catalog::Kernel const>>(settings.oValues[m_uKernel])),
          m_bProduct(IsProduct(*settings.pEntry, m_pKernel)) {
        qzILImageHelper const helper(input.Get());
        m_oSize = {helper.m_iWidth, helper.m_iHeight};
    }

    /// The whole picture, without region and mask.
    Ref<IXFImage> Sums(double steps) const {
        Part const plus = Run(1.0f), minus = Run(-1.0f);
        catalog::Parameter const* const pBias = m_oSettings.pEntry->FindParameter("bias");
        auto const index = static_cast<std::size_t>(pBias - m_oSettings.pEntry->oParameters.data());
        double const bias = pBias && !m_bProduct ? std::get<double>(m_oSettings.oValues[index]) * steps : 0.0;
        Ref<IXFImage> const result = EffectRun(Whole(), m_oFormats, {m_oSize}, {}).MakeOutput();
        qzILImageHelper const out(result.Get());
        std::size_t const count = out.m_uPixelSize / sizeof(u16) * static_cast<unsigned>(m_oSize.x);
        for (int y = 0; y < m_oSize.y; ++y) {
            u16 const *const pPlus = LineOf(plus, y), *const pMinus = LineOf(minus, y);
            auto* const pOut = reinterpret_cast<u16*>(out.GetPixelPtr(0, y));
            for (std::size_t i = 0; i < count; ++i) {
                double const sum = (pPlus ? pPlus[i] * plus.dfTotal : 0.0) - (pMinus ? pMinus[i] * minus.dfTotal : 0.0);
                pOut[i] = static_cast<u16>(std::clamp(sum + bias + 0.5, 0.0, 65535.0));
            }
        }
        return result;
    }

private:
    static u16 const* LineOf(Part const& part, int y) {
        if (!part.oSums) return nullptr;
        return reinterpret_cast<u16 const*>(qzILImageHelper(part.oSums.Get()).GetPixelPtr(0, y));
    }

    /// Edges and what else the user said of the effect, for all pixels and channels.
    Settings Whole() const {
        Settings whole;
        whole.pEntry = m_oSettings.pEntry;
        whole.oValues = m_oSettings.oValues;
        whole.sChannels = "15";
        return whole;
    }

    Part Run(float sign) const {
        auto taps = std::make_shared<catalog::Kernel>(*m_pKernel);
        double total = 0.0;
        for (float& tap : taps->oTaps) total += tap = std::max(tap * sign, 0.0f);
        Part part;
        if (total == 0.0) return part;
        part.dfTotal = std::max(total, 1.0);
        for (float& tap : taps->oTaps) tap = static_cast<float>(tap / part.dfTotal);
        if (IsProduct(*m_oSettings.pEntry, taps) != m_bProduct) {
            for (int y = 0; y < taps->iHeight / 2; ++y) {
                auto const row = taps->oTaps.begin() + static_cast<std::ptrdiff_t>(y) * taps->iWidth;
                std::swap_ranges(row, row + taps->iWidth,
                                 taps->oTaps.end() - (y + 1) * static_cast<std::ptrdiff_t>(taps->iWidth));
            }
        }
        Settings settings = Whole();
        settings.oValues[m_uKernel] = std::shared_ptr<catalog::Kernel const>(taps);
        if (auto const* const pBias = settings.pEntry->FindParameter("bias")) {
            settings.oValues[static_cast<std::size_t>(pBias - settings.pEntry->oParameters.data())] = 0.0;
        }
        EffectRun run(settings, m_oFormats, {m_oSize}, {});
        part.oSums = run.MakeOutput();
        run.Execute({&m_oInput, 1}, {&part.oSums, 1});
        return part;
    }

    Settings const& m_oSettings;
    StageFormats m_oFormats;
    Ref<IXFImage> m_oInput;
    qzILVector2l m_oSize;
    std::size_t m_uKernel;
    std::shared_ptr<catalog::Kernel const> m_pKernel;
    bool m_bProduct;
};

}  // namespace

bool TakesKernel(catalog::Entry const& entry) {
    return KernelIndex(entry) < entry.oParameters.size();
}

Ref<IXFImage> ConvolveClamped(Settings const& settings, GUID const& format, Ref<IXFImage> const& input, double steps,
                              Ref<IXFImage> const& mask, std::optional<qzILVector2l> const& maskSize) {
    Ref<IXFImage> const sums = ClampedConvolve(settings, format, input).Sums(steps);
    // A blend that takes all of the sums knows regions, masks and channels.
    Settings placed = settings;
    placed.pEntry = catalog::Find("blend");
    placed.oValues.clear();
    for (catalog::Parameter const& parameter : placed.pEntry->oParameters) {
        placed.oValues.push_back(parameter.sName == "alpha" ? catalog::Value(1.0) : parameter.oDefault);
    }
    qzILImageHelper const helper(input.Get());
    qzILVector2l const size(helper.m_iWidth, helper.m_iHeight);
    EffectRun run(placed, {format, format}, {size, size}, maskSize);
    if (mask) run.SetMask(mask);
    Ref<IXFImage> const output = run.MakeOutput();
    Ref<IXFImage> const both[] = {input, sums};
    run.Execute(both, {&output, 1});
    return output;
}

}  // namespace qzil::command
