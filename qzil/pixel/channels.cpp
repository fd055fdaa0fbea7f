#include "qzil/pixel/channels.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"
#include "qzil/pixel/channel_rows.h"

#include <cstring>

using namespace qzil;

namespace {

constexpr std::array kGrayFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU};
constexpr std::array kIntegerFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64};

/// RGBA formats with their mono partners.
struct Partner {
    GUID oRgba, oMono;
};
constexpr Partner kPartners[] = {{MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8},
                                 {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16},
                                 {MFIF_RGBA_S2_14, MFIF_MONO_S2_14},
                                 {MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT}};

bool HasPartner(GUID const& rgba) {
    for (Partner const& partner : kPartners) {
        if (partner.oRgba == rgba) return true;
    }
    return false;
}

bool ArePartners(GUID const& rgba, GUID const& mono) {
    for (Partner const& partner : kPartners) {
        if (partner.oRgba == rgba) return partner.oMono == mono;
    }
    return false;
}

/// The place that a channel names in a pixel; the first for what names none.
int PlaceOf(XFImageChannel channel) {
    return channel == XFImageChannel1 ? 1 : channel == XFImageChannel2 ? 2 : channel == XFImageChannel3 ? 3 : 0;
}

bool IsOneChannel(XFImageChannel channel) {
    return channel == XFImageChannel0 || channel == XFImageChannel1 || channel == XFImageChannel2 ||
           channel == XFImageChannel3;
}

constexpr NoConstants kNone{};

enum Source { kComplement = 4, kHue = 8, kSaturation = 10, kFull = 12 };

/// Lets byte `from` of a word through to byte `to`.
void Connect(ByteMoves& moves, int from, int to) {
    moves.aTurned[(to - from) & 3] |= 0xFFu << (8 * to);
}

/// The sources of the selected channels; the others keep their own.
ChannelSources SourcesOf(std::int32_t const* sources, unsigned mode) {
    ChannelSources result{};
    for (int i = 0; i < 4; ++i) {
        int const source = mode >> i & 1 ? sources[i] : i;
        if (source >= 0 && source < kHue) Connect(result.oPixel, source & 3, i);
        if (source >= kHue && source <= kSaturation) {
            Connect(result.oHls, source - kHue, i);
            result.bHls = true;
        }
        bool const flipped = (source >= kComplement && source < kHue) || source == kFull;
        if (flipped) result.uFlip |= 0xFFu << (8 * i);
    }
    return result;
}

}  // namespace

FormatList qzILGrayscaleImg::GetFormats() {
    return kGrayFormats;
}

qzILStatus qzILGrayscaleImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (qzILStatus const status = VerifyFormat(kGrayFormats); status != 1) return status;
    return (m_uProcessingMode & kModeColor) == kModeColor ? 1 : Fail(0x20002);
}

qzILStatus qzILGrayscaleImg::DoEffect() {
    kernel::RowTraits traits = PixelTraits(Format(), kernel::MixRule::Mix257);
    if (traits.iSamples != 4) return Fail(0x1000D);
    // The row copies alpha, which mixes with itself to itself in integers. Float mixes in the row: infinities do not.
    traits.bHasChannels = false;
    ChannelRows const& rows = GetChannelRows();
    switch (GetChannelTypeFromFormat(Format())) {
        case XFChannelTypeUInt8: return RunRows(traits, kernel::Bound(rows.pGray8, kNone));
        case XFChannelTypeUInt16: return RunRows(traits, kernel::Bound(rows.pGray16, kNone));
        case XFChannelTypeFloat:
            traits.bTakesMask = true;
            traits.eMaskLayout = kernel::MaskLayout::Pixel;
            return RunRows(traits, kernel::Bound(rows.pGrayFloat, kNone));
        default: return Fail(0x1000D);
    }
}

bool qzILExtractChannel::Converts(GUID const& input, GUID const& output) {
    return ArePartners(input, output);
}

qzILStatus qzILExtractChannel::Verify() {
    if (qzILStatus const status = VerifyFormats(HasPartner, Converts); status != 1) return status;
    return IsOneChannel(m_uChannel) ? 1 : Fail(0x10035);
}

qzILStatus qzILExtractChannel::DoEffect() {
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (!Converts(input, output)) return -1;
    ChannelPlace const place{PlaceOf(m_uChannel)};
    ChannelRows const& rows = GetChannelRows();
    auto const row = GetChannelSizeFromFormat(input) == 1   ? rows.pExtract8
                     : GetChannelSizeFromFormat(input) == 2 ? rows.pExtract16
                                                            : rows.pExtract32;
    kernel::ConvertTraits const traits{.iInBytes = PixelBytesOf(input), .iOutBytes = PixelBytesOf(output)};
    return RunRows(traits, kernel::BoundConversion(row, place));
}

void* qzILExtractChannel::GetConvertedColor(qzILColor const& color) {
    if (!m_pOutputImg) return nullptr;
    double const components[] = {color.GetRed(), color.GetGreen(), color.GetBlue(), color.GetAlpha()};
    double const value = components[PlaceOf(m_uChannel)];
    GUID output{};
    m_pOutputImg->GetFormat(&output);
    m_oConverted = ColorAsPixel(qzILColor(value, value, value), output);
    return m_oConverted.auBytes;
}

bool qzILInsertChannel::Converts(GUID const& input, GUID const& output) {
    return ArePartners(output, input) && (input == MFIF_MONO_RAW_8 || input == MFIF_MONO_RAW_16);
}

qzILStatus qzILInsertChannel::Verify() {
    auto const accepts = [](GUID const& input) { return input == MFIF_MONO_RAW_8 || input == MFIF_MONO_RAW_16; };
    if (qzILStatus const status = VerifyFormats(accepts, Converts); status != 1) return status;
    return IsOneChannel(m_uChannel) || m_uChannel == kModeAllChannels ? 1 : Fail(0x10035);
}

qzILStatus qzILInsertChannel::DoEffect() {
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (!Converts(input, output)) return -1;
    bool const all = m_uChannel == kModeAllChannels;
    ChannelPlace const place{all ? 4 : PlaceOf(m_uChannel)};
    kernel::ConvertTraits const traits{
        .iInBytes = PixelBytesOf(input), .iOutBytes = PixelBytesOf(output), .bUpdates = !all};
    ChannelRows const& rows = GetChannelRows();
    auto const row = input == MFIF_MONO_RAW_8 ? rows.pInsert8 : rows.pInsert16;
    return RunRows(traits, kernel::BoundConversion(row, place));
}

void* qzILInsertChannel::GetConvertedColor(qzILColor const& color) {
    if (!m_pOutputImg) return nullptr;
    double const components[] = {color.GetRed(), color.GetGreen(), color.GetBlue(), color.GetAlpha()};
    GUID output{};
    m_pOutputImg->GetFormat(&output);
    bool const wide = GetChannelSizeFromFormat(output) == 2;
    double const full = wide ? 65535.0 : 255.0;
    m_oConverted = {};
    for (int i = 0; i < 4; ++i) {
        if (m_uChannel != kModeAllChannels && i != PlaceOf(m_uChannel)) continue;
        u16 const value = TruncateTo<u16>(full * components[i], 0.0, full);
        std::size_t const size = wide ? 2 : 1;
        std::memcpy(m_oConverted.auBytes + size * static_cast<std::size_t>(i), &value, size);
    }
    return m_oConverted.auBytes;
}

FormatList qzILChannelSwitch::GetFormats() {
    return kIntegerFormats;
}

void qzILChannelSwitch::Init() {
    for (int i = 0; i < 4; ++i) m_aSources[i] = i;
}

void qzILChannelSwitch::SetSourceChannels(int const* sources) {
    for (int i = 0; i < 4; ++i) m_aSources[i] = sources[i];
}

void qzILChannelSwitch::GetSourceChannels(int* sources) const {
    for (int i = 0; i < 4; ++i) sources[i] = m_aSources[i];
}

qzILStatus qzILChannelSwitch::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    GUID format{};
    m_pOutputImg->GetFormat(&format);
    return Contains(kIntegerFormats, format) ? 1 : Fail(0x10012);
}

qzILStatus qzILChannelSwitch::DoEffect() {
    if (Format() != MFIF_RGBA_RAW_32) return 1;
    kernel::RowTraits traits = PixelTraits(Format(), kernel::MixRule::NormMult);
    // Unselected channels are their own sources, and a mask's mix of a channel with itself keeps it.
    traits.bTakesChannels = true;
    ChannelSources const sources = SourcesOf(m_aSources, m_uProcessingMode);
    ChannelRows const& rows = GetChannelRows();
    return RunRows(traits, kernel::Bound(sources.bHls ? rows.pSwitchHls : rows.pSwitch, sources));
}

FormatList qzILRGBA2Alpha::GetFormats() {
    return kIntegerFormats;
}

qzILStatus qzILRGBA2Alpha::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    GUID format{};
    m_pInputImg->GetFormat(&format);
    if (!Contains(kIntegerFormats, format)) return Fail(0x10034);
    if (qzILStatus const status = VerifyFormat(kIntegerFormats); status != 1) return status;
    qzILBbox2l const whole = WholeOf(m_pInputImg);
    return !m_pMaskImg && m_oRoi.Intersect(whole) == whole ? 1 : Fail(0x20001);
}

qzILStatus qzILRGBA2Alpha::DoEffect() {
    if (!Contains(kIntegerFormats, Format())) return -1;
    kernel::RowTraits traits = PixelTraits(Format(), kernel::MixRule::NormMult);
    traits.bHasChannels = traits.bWritesAll = false;
    traits.bTakesMask = true;
    traits.eMaskLayout = kernel::MaskLayout::Pixel;
    ChannelRows const& rows = GetChannelRows();
    return RunRows(traits, kernel::Bound(Format() == MFIF_RGBA_RAW_32 ? rows.pAlpha8 : rows.pAlpha16, kNone));
}
