#include "effect_run.h"

#include "interrupt.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/image_ops.h"

namespace qzil::command {

namespace {

/// A rectangle of a shown picture in the library's lines, which count from the bottom.
qzILBbox2l Flipped(qzILBbox2l const& box, int height) {
    return {box.Origin.x, height - box.Origin.y - box.Size.y, box.Size.x, box.Size.y};
}

std::string BoxText(qzILBbox2l const& box) {
    return std::to_string(box.Origin.x) + "," + std::to_string(box.Origin.y) + "," + std::to_string(box.Size.x) + "," +
           std::to_string(box.Size.y);
}

}  // namespace

Ref<IXFImage> MakeImage(catalog::Entry const& entry, media::Picture const& picture, GUID const& format) {
    return NamingEffect(entry, [&] { return media::ToImage(picture, format); });
}

EffectRun::EffectRun(Settings const& settings, StageFormats const& formats, std::vector<qzILVector2l> const& sizes,
                     std::optional<qzILVector2l> const& maskSize)
    : m_oSettings(settings),
      m_oInstance(settings.pEntry->Make()),
      m_oFormats(formats),
      m_oSizes(sizes),
      m_oInputSize(!sizes.empty() ? sizes[0] : settings.oSize.value_or(qzILVector2l(1, 1))),
      m_oOutputSize(settings.oSize.value_or(m_oInputSize)) {
    for (std::size_t i = 0; i < settings.oValues.size(); ++i) m_oInstance.Set(i, settings.oValues[i]);
    SetRegion();
    CheckMask(maskSize);
    SetMaskPlace();
    SetMode();
    m_oInstance.SetDefaultColor(settings.oDefaultColor);
    Effect().SetInterruptFct(nullptr, InterruptFlag());
}

void EffectRun::MoveTo(long long frame, long long frames, bool smooth) {
    for (Track const& track : m_oSettings.oTracks) {
        m_oInstance.Set(track.uParameter, track.At(Entry().oParameters[track.uParameter], frame, frames, smooth));
    }
    for (PlaceTrack const& track : m_oSettings.oPlaces) {
        auto const at = track.At(frame, frames, smooth);
        switch (track.ePlace) {
            case PlaceTrack::Place::kRoi: m_oSettings.oRoi = qzILBbox2l(at[0], at[1], at[2], at[3]); break;
            case PlaceTrack::Place::kMaskRect: m_oSettings.oMaskRect = qzILBbox2l(at[0], at[1], at[2], at[3]); break;
            case PlaceTrack::Place::kOffset: m_oSettings.oOffset = qzILVector2l(at[0], at[1]); break;
            case PlaceTrack::Place::kInputOffset: m_oSettings.oInputOffset = qzILVector2l(at[0], at[1]); break;
        }
    }
    if (m_oSettings.oPlaces.empty()) return;
    SetRegion();
    SetMaskPlace();
}

Ref<IXFImage> EffectRun::MakeOutput() const {
    Ref<IXFImage> output;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, m_oOutputSize.x, m_oOutputSize.y, m_oFormats.oOut,
                                output.Out()) < 0) {
        throw Failure(kRefused, Entry().sName + ": there is not enough memory for an output of " +
                                    SizeText(m_oOutputSize.x, m_oOutputSize.y) + " pixels.");
    }
    return output;
}

/// Without an offset, a region stays in its place when the output is as large as the input, and goes to the top left
/// otherwise. Without a region, all is processed that finds room.
void EffectRun::SetRegion() {
    bool const inPlace = m_oSettings.oRoi && m_oOutputSize == m_oInputSize;
    qzILVector2l const offset = m_oSettings.oOffset.value_or(inPlace ? m_oSettings.oRoi->Origin : qzILVector2l());
    qzILVector2l const room = m_oOutputSize - offset;
    qzILBbox2l const roi = m_oSettings.oRoi.value_or(qzILBbox2l(0, 0, room.x, room.y));
    std::string const output = "the output of " + SizeText(m_oOutputSize.x, m_oOutputSize.y) + " pixels.";
    std::string const place = std::to_string(offset.x) + "," + std::to_string(offset.y);
    if (inPlace && !m_oSettings.oOffset && (offset.x < 0 || offset.y < 0 || room.x < 1 || room.y < 1)) {
        throw Failure(kRefused,
                      Entry().sName + ": --roi is '" + BoxText(roi) + "', but takes a region inside " + output);
    }
    if (offset.x < 0 || offset.y < 0 || room.x < 1 || room.y < 1) {
        throw Failure(kRefused, Entry().sName + ": --offset is '" + place + "', but takes a place inside " + output);
    }
    if (roi.Size.x > room.x || roi.Size.y > room.y) {
        throw Failure(kRefused, Entry().sName + ": --roi is '" + BoxText(roi) + "', but takes a region that fits at " +
                                    place + " into " + output);
    }
    m_oInstance.SetRoi(Flipped(roi, m_oInputSize.y));
    m_bCoversOutput = roi.Size == m_oOutputSize && !m_oSettings.oEvenField;
    m_oInstance.SetOutputOffset(Flipped({offset.x, offset.y, roi.Size.x, roi.Size.y}, m_oOutputSize.y).Origin);
    if (!Entry().HasTwoInputs()) return;
    qzILVector2l const& placeB = m_oSettings.oInputOffset;
    m_oInstance.SetInputOffset(Flipped({placeB.x, placeB.y, m_oSizes[1].x, m_oSizes[1].y}, m_oInputSize.y).Origin);
    if (m_oSettings.oDominantB) m_oInstance.SetDominant(*m_oSettings.oDominantB);
}

void EffectRun::CheckMask(std::optional<qzILVector2l> const& maskSize) {
    m_oMaskSize = maskSize.value_or(m_oInputSize);
    std::string const text = SizeText(m_oMaskSize.x, m_oMaskSize.y) + " pixels";
    if (maskSize && m_oSettings.oMaskRect && !(m_oMaskSize == m_oSettings.oMaskRect->Size)) {
        throw Failure(kRefused, Entry().sName + ": --mask-rect is '" + BoxText(*m_oSettings.oMaskRect) +
                                    "', but takes the size of the mask, " + text + ".");
    }
    if (!m_oSettings.oMaskRect && !(m_oMaskSize == m_oInputSize)) {
        throw Failure(kRefused,
                      Entry().sName + ": --mask is a picture of " + text + ", but takes the size of the first input, " +
                          SizeText(m_oInputSize.x, m_oInputSize.y) + ", unless --mask-rect says where it lies.");
    }
}

void EffectRun::SetMaskPlace() {
    if (!m_oMask && !m_oSettings.oMaskRect) return;
    qzILBbox2l const place = m_oSettings.oMaskRect.value_or(qzILBbox2l(0, 0, m_oMaskSize.x, m_oMaskSize.y));
    m_oInstance.SetMask(Flipped(place, m_oInputSize.y), m_oMask.Get(), XFImageChannelMono);
}

void EffectRun::SetMask(Ref<IXFImage> mask) {
    m_oMask = std::move(mask);
    SetMaskPlace();
}

void EffectRun::SetMode() {
    // Effects that make whole pixels, such as conversions, start with all channels.
    unsigned mode = m_oSettings.sChannels == "7" ? Effect().GetProcessingMode()
                                                 : *ChannelBits(m_oSettings.sChannels, m_oFormats.oOut);
    if (m_oSettings.oEvenField) {
        // The library counts lines from the bottom: the top line is even when the height is odd.
        bool const even = *m_oSettings.oEvenField == (m_oOutputSize.y % 2 == 1);
        mode |= even ? kModeSkipOddLines : kModeSkipEvenLines;
    }
    Effect().SetProcessingMode(mode);
}

void EffectRun::FillSurroundings(std::span<Ref<IXFImage> const> inputs, IXFImage& output) const {
    if (m_bCoversOutput && !Entry().bUpdates && !m_oOnto) return;
    IXFImage* const pBelow = m_oOnto ? m_oOnto.Get() : inputs.empty() ? nullptr : inputs[0].Get();
    bool const suits = m_oOnto || (m_oOutputSize == m_oInputSize && m_oFormats.oIn == m_oFormats.oOut);
    if (pBelow && suits) {
        qzILCopyImage(pBelow, &output, nullptr, nullptr, 0);
    } else {
        qzILFillImageWithColor(&output, {0.0, 0.0, 0.0, 0.0}, kModeAllChannels, nullptr, nullptr);
    }
}

std::chrono::duration<double> EffectRun::Execute(std::span<Ref<IXFImage> const> inputs,
                                                 std::span<Ref<IXFImage> const> outputs) {
    using Clock = std::chrono::steady_clock;
    auto const refuse = [this] { return Failure(kRefused, catalog::ErrorSentence(Entry(), Effect().GetLastError())); };
    for (std::size_t i = 0; i < inputs.size(); ++i) m_oInstance.SetInput(i, inputs[i].Get());
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (outputs[i]) FillSurroundings(inputs, *outputs[i].Get());
        m_oInstance.SetOutput(outputs[i].Get(), i);
    }
    if (Effect().Verify() != 1) throw refuse();
    auto const start = Clock::now();
    if (Effect().Execute() != 1) throw refuse();
    auto const time = Clock::now() - start;
    // An interrupted effect succeeds with an incomplete picture.
    if (IsInterrupted()) throw Failure(kInterrupted, "interrupted; nothing was written.");
    return time;
}

std::vector<NamedNumbers> EffectRun::Results() {
    std::vector<NamedNumbers> results;
    for (std::size_t i = 0; i < Entry().oResults.size(); ++i) {
        results.push_back({Entry().oResults[i].sName, m_oInstance.ResultOf(i)});
    }
    return results;
}

}  // namespace qzil::command
