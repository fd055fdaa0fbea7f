#include "qzil/pixel/channels.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
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

bool IsInsertable(GUID const& mono) {
    constexpr std::array kInsertable{MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};
    return Contains(kInsertable, mono);
}

/// The place that a channel names in a pixel; the first for what names none.
int PlaceOf(XFImageChannel channel) {
    return channel == XFImageChannel1 ? 1 : channel == XFImageChannel2 ? 2 : channel == XFImageChannel3 ? 3 : 0;
}

bool IsOneChannel(XFImageChannel channel) {
    return channel == XFImageChannel0 || channel == XFImageChannel1 || channel == XFImageChannel2 ||
           channel == XFImageChannel3;
}

enum Source { kComplement = 4, kHue = 8, kSaturation = 10, kFull = 12 };

/// Lets byte `from` of a word through to byte `to`.
void Connect(ByteMoves& moves, int from, int to) {
    moves.aTurned[(to - from) & 3] |= 0xFFu << (8 * to);
}

bool IsHls(int source) {
    return source >= kHue && source <= kSaturation;
}

/// The sources of the selected channels; the others keep their own.
HlsSwitch<u8> SwitchOf(std::int32_t const* sources, kernel::Call const& call) {
    HlsSwitch<u8> rule{};
    for (int i = 0; i < 4; ++i) {
        int const source = call.Selects(i) ? sources[i] : i;
        if (source >= 0 && source < kHue) Connect(rule.oPixel, source & 3, i);
        if (IsHls(source)) Connect(rule.oHls, source - kHue, i);
        bool const flipped = (source >= kComplement && source < kHue) || source == kFull;
        if (flipped) rule.uFlip |= 0xFFu << (8 * i);
    }
    return rule;
}

}  // namespace

FormatList qzILGrayscaleImg::GetFormats() {
    return kGrayFormats;
}

qzILStatus qzILGrayscaleImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kGrayFormats).Selects(kModeColor);
}

qzILStatus qzILGrayscaleImg::DoEffect() {
    return Run(GetGrayscale());
}

bool qzILExtractChannel::Converts(GUID const& input, GUID const& output) {
    return ArePartners(input, output);
}

qzILStatus qzILExtractChannel::Verify() {
    if (qzILStatus const status = VerifyFormats(HasPartner, Converts); status != 1) return status;
    return IsOneChannel(m_uChannel) ? 1 : Fail(Code::Channel);
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
    return ArePartners(output, input) && IsInsertable(input);
}

qzILStatus qzILInsertChannel::Verify() {
    if (qzILStatus const status = VerifyFormats(IsInsertable, Converts); status != 1) return status;
    return IsOneChannel(m_uChannel) || m_uChannel == kModeAllChannels ? 1 : Fail(Code::Channel);
}

qzILStatus qzILInsertChannel::DoEffect() {
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (!Converts(input, output)) return -1;
    bool const all = m_uChannel == kModeAllChannels;
    ChannelPlace const place{all ? 4 : PlaceOf(m_uChannel)};
    kernel::ConvertTraits const traits{
        .iInBytes = PixelBytesOf(input), .iOutBytes = PixelBytesOf(output), .bUpdates = !all};
    ChannelRows const& rows = GetChannelRows();
    auto const row = GetChannelSizeFromFormat(input) == 1 ? rows.pInsert8 : rows.pInsert16;
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
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kIntegerFormats, Code::Alpha);
}

qzILStatus qzILChannelSwitch::DoEffect() {
    if (!Contains({kIntegerFormats.data(), 1}, Format())) return 1;
    bool hls = false;
    for (int i = 0; i < 4; ++i) hls |= (m_uProcessingMode >> i & 1) != 0 && IsHls(m_aSources[i]);
    if (hls) return Run(GetHlsSwitch(), [this]<class T>(As<T> call) { return SwitchOf(m_aSources, call); });
    return Run(GetChannelSwitch(), [this]<class T>(As<T> call) {
        HlsSwitch<u8> const rule = SwitchOf(m_aSources, call);
        return ChannelSwitch<T>{rule.oPixel, rule.uFlip};
    });
}

FormatList qzILRGBA2Alpha::GetFormats() {
    return kIntegerFormats;
}

qzILStatus qzILRGBA2Alpha::Verify() {
    auto const readable = [this] { return Contains(kIntegerFormats, FormatOf(m_pInputImg)); };
    auto const whole = [this] {
        qzILBbox2l const all = WholeOf(m_pInputImg);
        return !m_pMaskImg && m_oRoi.Intersect(all) == all;
    };
    return Checks(*this, qzILMonadicPixelProc::Verify())
        .That(readable, Code::InputFormat)
        .Format(kIntegerFormats)
        .That(whole, Code::RegionShape);
}

qzILStatus qzILRGBA2Alpha::DoEffect() {
    if (!Contains(kIntegerFormats, Format())) return -1;
    return Run(GetLuminanceToAlpha());
}
