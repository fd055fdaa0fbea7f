#include "command.h"
#include "interrupt.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/image_ops.h"
#include "settings.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

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

GUID DefaultFormat(catalog::Entry const& entry, std::vector<media::Picture> const& inputs) {
    auto const formats = UsableFormats(entry);
    if (formats.empty()) {
        throw Failure(kRefused, entry.sName + ": none of this effect's formats can show a picture.");
    }
    bool const grey = std::all_of(inputs.begin(), inputs.end(), [](auto const& input) { return input.iChannels == 1; });
    for (GUID const& wanted : {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32}) {
        if (Contains(formats, wanted)) return wanted;
    }
    return formats.front();
}

GUID MaskFormat(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt16: return MFIF_MONO_RAW_16;
        case XFChannelTypeS2_14: return MFIF_MONO_S2_14;
        case XFChannelTypeFloat: return MFIF_MONO_FLOAT;
        default: return MFIF_MONO_RAW_8;
    }
}

Ref<IXFImage> MakeImage(catalog::Entry const& entry, media::Picture const& picture, GUID const& format) {
    try {
        return media::ToImage(picture, format);
    } catch (media::MediaError const& error) {
        throw Failure(kRefused, entry.sName + ": " + error.what());
    }
}

/// One run of an effect: its images, and what it is told about them.
class Run {
public:
    explicit Run(Settings const& settings) : m_oSettings(settings), m_oInstance(settings.pEntry->Make()) {}

    void Read();
    void Prepare();
    void Execute();
    void Write();

private:
    catalog::Entry const& Entry() const { return *m_oSettings.pEntry; }
    qzILImgProc& Effect() { return m_oInstance.Effect(); }
    void MakeOutput();
    void SetRegion();
    void SetMask();
    void SetMode();

    Settings const& m_oSettings;
    catalog::Instance m_oInstance;
    std::vector<media::Picture> m_oPictures;
    media::Picture m_oMaskPicture;
    GUID m_oFormat{};
    qzILVector2l m_oInputSize;
    qzILVector2l m_oOutputSize;
    std::vector<Ref<IXFImage>> m_oInputs;
    Ref<IXFImage> m_oMask;
    Ref<IXFImage> m_oOutput;
};

void Run::Read() {
    for (std::string const& path : m_oSettings.oInputs) m_oPictures.push_back(ReadInput(path));
    if (!m_oSettings.sMask.empty()) m_oMaskPicture = ReadInput(m_oSettings.sMask);
    m_oInputSize = qzILVector2l(m_oPictures[0].iWidth, m_oPictures[0].iHeight);
    m_oOutputSize = m_oSettings.oSize.value_or(m_oInputSize);
}

void Run::Prepare() {
    m_oFormat = m_oSettings.oFormat ? *m_oSettings.oFormat : DefaultFormat(Entry(), m_oPictures);
    for (std::size_t i = 0; i < m_oPictures.size(); ++i) {
        m_oInputs.push_back(MakeImage(Entry(), m_oPictures[i], m_oFormat));
        m_oInstance.SetInput(i, m_oInputs[i].Get());
    }
    for (std::size_t i = 0; i < m_oSettings.oValues.size(); ++i) m_oInstance.Set(i, m_oSettings.oValues[i]);
    MakeOutput();
    SetRegion();
    SetMask();
    SetMode();
    Effect().SetDefaultColor(m_oSettings.oDefaultColor);
    Effect().SetInterruptFct(nullptr, InterruptFlag());
    m_oPictures.clear();
}

/// A copy of the first input, so that what lies outside the region keeps its pixels; transparent black where the sizes
/// differ.
void Run::MakeOutput() {
    if (m_oOutputSize == m_oInputSize) {
        m_oOutput = MakeImage(Entry(), m_oPictures[0], m_oFormat);
    } else if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, m_oOutputSize.x, m_oOutputSize.y, m_oFormat,
                                       m_oOutput.Out()) < 0) {
        throw Failure(kRefused, Entry().sName + ": there is not enough memory for an output of " +
                                    SizeText(m_oOutputSize.x, m_oOutputSize.y) + " pixels.");
    } else {
        qzILFillImageWithColor(m_oOutput.Get(), {0.0, 0.0, 0.0, 0.0}, kModeAllChannels, nullptr, nullptr);
    }
    Effect().SetOutputImg(m_oOutput.Get());
}

/// Without an offset, a region stays in its place when the output is as large as the input, and goes to the top left
/// otherwise. Without a region, all is processed that finds room.
void Run::SetRegion() {
    bool const inPlace = m_oSettings.oRoi && m_oOutputSize == m_oInputSize;
    qzILVector2l const offset = m_oSettings.oOffset.value_or(inPlace ? m_oSettings.oRoi->Origin : qzILVector2l());
    qzILVector2l const room = m_oOutputSize - offset;
    qzILBbox2l const roi = m_oSettings.oRoi.value_or(qzILBbox2l(0, 0, room.x, room.y));
    std::string const output = "the output of " + SizeText(m_oOutputSize.x, m_oOutputSize.y) + " pixels.";
    std::string const place = std::to_string(offset.x) + "," + std::to_string(offset.y);
    if (offset.x < 0 || offset.y < 0 || room.x < 1 || room.y < 1) {
        throw Failure(kRefused, Entry().sName + ": --offset is '" + place + "', but takes a place inside " + output);
    }
    if (roi.Size.x > room.x || roi.Size.y > room.y) {
        throw Failure(kRefused, Entry().sName + ": --roi is '" + BoxText(roi) + "', but takes a region that fits at " +
                                    place + " into " + output);
    }
    Effect().SetROI(Flipped(roi, m_oInputSize.y));
    Effect().SetOutputOffset(Flipped({offset.x, offset.y, roi.Size.x, roi.Size.y}, m_oOutputSize.y).Origin);
    if (!Entry().bTwoInputs) return;
    qzILVector2l const& placeB = m_oSettings.oInputOffset;
    media::Picture const& b = m_oPictures[1];
    m_oInstance.SetInputOffset(Flipped({placeB.x, placeB.y, b.iWidth, b.iHeight}, m_oInputSize.y).Origin);
    if (m_oSettings.oDominantB) m_oInstance.SetDominant(*m_oSettings.oDominantB);
}

void Run::SetMask() {
    bool const hasMask = !m_oSettings.sMask.empty();
    if (!hasMask && !m_oSettings.oMaskRect) return;
    qzILVector2l const size = hasMask ? qzILVector2l(m_oMaskPicture.iWidth, m_oMaskPicture.iHeight) : m_oInputSize;
    qzILBbox2l const rectangle = m_oSettings.oMaskRect.value_or(qzILBbox2l(0, 0, size.x, size.y));
    if (hasMask && !(rectangle.Size == size)) {
        throw Failure(kRefused, Entry().sName + ": --mask-rect is '" + BoxText(rectangle) +
                                    "', but takes the size of the mask, " + SizeText(size.x, size.y) + " pixels.");
    }
    if (!m_oSettings.oMaskRect && !(size == m_oInputSize)) {
        throw Failure(kRefused, Entry().sName + ": --mask is a picture of " + SizeText(size.x, size.y) +
                                    " pixels, but takes the size of the first input, " +
                                    SizeText(m_oInputSize.x, m_oInputSize.y) +
                                    ", unless --mask-rect says where it lies.");
    }
    if (hasMask) m_oMask = MakeImage(Entry(), m_oMaskPicture, MaskFormat(m_oFormat));
    Effect().SetMask(Flipped(rectangle, m_oInputSize.y), m_oMask.Get(), XFImageChannelMono);
}

void Run::SetMode() {
    unsigned mode = *ChannelBits(m_oSettings.sChannels, m_oFormat);
    if (m_oSettings.oEvenField) {
        // The library counts lines from the bottom: the top line is even when the height is odd.
        bool const even = *m_oSettings.oEvenField == (m_oOutputSize.y % 2 == 1);
        mode |= even ? kModeSkipOddLines : kModeSkipEvenLines;
    }
    Effect().SetProcessingMode(mode);
}

void Run::Execute() {
    using Clock = std::chrono::steady_clock;
    auto const refuse = [this] { return Failure(kRefused, catalog::ErrorSentence(Entry(), Effect().GetLastError())); };
    if (Effect().Verify() != 1) throw refuse();
    auto const start = Clock::now();
    if (Effect().Execute() != 1) throw refuse();
    std::chrono::duration<double, std::milli> const time = Clock::now() - start;
    // An interrupted effect succeeds with an incomplete picture.
    if (IsInterrupted()) throw Failure(kInterrupted, "interrupted; nothing was written.");
    if (!m_oSettings.bTime) return;
    std::printf("%s: %.3f ms (%s pixels, %s)\n", Entry().sName.c_str(), time.count(),
                SizeText(m_oOutputSize.x, m_oOutputSize.y).c_str(), FormatName(m_oFormat));
}

void Run::Write() {
    WriteOutput(m_oSettings.sOutput, media::FromImage(*m_oOutput.Get()));
}

void RunEffect(std::vector<std::string> arguments) {
    if (arguments.empty()) throw Failure(kWrongUsage, "run: EFFECT is missing; qzil list names all effects.");
    catalog::Entry const* const pEntry = catalog::Find(arguments[0]);
    if (!pEntry) throw Failure(kWrongUsage, "there is no effect '" + arguments[0] + "'; qzil list names all effects.");
    arguments.erase(arguments.begin());
    auto const settings = ParseSettings(*pEntry, arguments);
    if (!settings) return;
    Run run(*settings);
    run.Read();
    run.Prepare();
    run.Execute();
    run.Write();
}

}  // namespace

void AddRun(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("run", "Runs an effect on pictures: qzil run EFFECT IN... -o OUT");
    // Each effect has arguments of its own, so what follows its name is parsed when the name is known.
    pCommand->prefix_command();
    pCommand->footer(
        "qzil run EFFECT IN... [--name value]... -o OUT\nqzil run EFFECT --help tells an effect's options.");
    pCommand->callback([pCommand] { RunEffect(pCommand->remaining()); });
}

}  // namespace qzil::command
