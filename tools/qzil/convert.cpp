#include "media/convert.h"
#include "command.h"
#include "encoder.h"
#include "interrupt.h"
#include "media/source.h"
#include "media/y4m_image.h"
#include "options.h"
#include "qzil/image/image_ops.h"
#include "sources.h"
#include "video_options.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace qzil::command {

namespace {

struct Arguments {
    std::string sInput;
    std::string sOutput;
    std::vector<std::string> oFormats;
    int iFrame = 1;
    bool bNoFilter = false;
    bool bDither = false;
    VideoOptions oVideo;
    FileSettings oFiles;

    unsigned Flags() const { return (bNoFilter ? 0u : media::kFilterChroma) | (bDither ? kConvertDither : 0u); }
};

GUID ParseFormat(std::string const& name) {
    if (auto const format = FormatNamed(name)) return *format;
    throw Failure(kWrongUsage, "convert: --format is '" + name + "', but takes the name of a format.");
}

bool IsStream(std::string const& path) {
    return path == "-" || path.ends_with(".y4m");
}

template <class Step>
auto Refusing(Step step) {
    return WithCode(kRefused, step, "convert: ");
}

/// A conversion from file to file: frames come in as images, take the wanted formats one after the other, and go out.
class Conversion {
public:
    explicit Conversion(Arguments const& arguments) : m_oArguments(arguments), m_oSource(Open()) {
        for (std::string const& name : arguments.oFormats) m_oFormats.push_back(ParseFormat(name));
        m_b709 = IsRec709(arguments.oVideo.sMatrix, m_oSource.Width(), m_oSource.Height());
    }

    void Run() {
        if (!IsStream(m_oArguments.sOutput)) {
            CheckPicturePath(m_oArguments.sOutput, "convert");
        }
        bool const video = IsStream(m_oArguments.sOutput);
        if (video && m_oSource.pVideo) return VideoToVideo();
        Ref<IXFImage> const image = Refusing([&] { return Through(FirstImage()); });
        if (video) return ImageToVideo(*image.Get());
        media::Picture picture = Refusing([&] { return Cropped(media::FromImage(*image.Get()), m_oSource.Width()); });
        picture.oTags = m_oSource.oPicture.oTags;
        WriteOutput(m_oArguments.sOutput, picture, m_oArguments.oFiles);
    }

private:
    media::Source Open() const {
        if (IsForeignVideo(m_oArguments.sInput)) return OpenForeignVideo(m_oArguments.sInput);
        media::Source source =
            WithCode(kUnreadable, [&] { return media::OpenSource(m_oArguments.sInput, m_oArguments.oFiles.oRead); });
        if (!source.pVideo) NotePages(m_oArguments.sInput, source.oPicture, m_oArguments.oFiles);
        return source;
    }

    Ref<IXFImage> Through(Ref<IXFImage> image) const {
        for (GUID const& format : m_oFormats) image = media::Convert(*image.Get(), format, m_oArguments.Flags());
        return image;
    }

    /// A format of YCC that was asked for last says what the written stream holds.
    bool WritesRec709() const {
        if (!m_oFormats.empty() && IsFormat601(m_oFormats.back())) return false;
        return m_b709 || (!m_oFormats.empty() && IsFormat709(m_oFormats.back()));
    }

    Ref<IXFImage> FrameImage(media::Y4mFrame& frame) {
        media::Y4mHeader const& header = m_oSource.pVideo->Header();
        auto const own = media::VideoFormats(header, m_b709);
        GUID const next = m_oFormats.empty() ? MFIF_RGBA_FLOAT : m_oFormats[0];
        GUID const format = FirstConvertible(own, next, false).value_or(own[0]);
        Ref<IXFImage> image;
        if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, media::ImageWidth(header), header.iHeight, format,
                                    image.Out()) < 0) {
            throw std::bad_alloc();
        }
        media::ToImageLayout(header, frame, m_oScratch);
        media::FrameToImage(media::ImageHeader(header), frame, *image.Get());
        return image;
    }

    bool ReadFrame(media::Y4mFrame& frame) {
        return WithCode(kUnreadable, [&] { return m_oSource.pVideo->Read(frame); });
    }

    /// The picture, or the wanted frame of the video.
    Ref<IXFImage> FirstImage() {
        if (!m_oSource.pVideo) {
            // A picture that the first format cannot be made of takes it as it is read.
            bool const grey = m_oSource.oPicture.iChannels == 1;
            GUID const plain = m_oSource.oPicture.iDepth == 8    ? grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32
                               : m_oSource.oPicture.iDepth == 16 ? grey ? MFIF_MONO_RAW_16 : MFIF_RGBA_RAW_64
                               : grey                            ? MFIF_MONO_FLOAT
                                                                 : MFIF_RGBA_FLOAT;
            bool const reaches = m_oFormats.empty() || media::CanConvert(plain, m_oFormats[0]);
            GUID const format = reaches ? plain : m_oFormats[0];
            return media::ToImage(Padded(m_oSource.oPicture, MakesPairs(format)), format);
        }
        media::Y4mFrame frame;
        while (m_oSource.pVideo->Frames() < m_oArguments.iFrame) {
            if (ReadFrame(frame)) continue;
            throw Failure(kUnreadable, "convert: --frame is '" + std::to_string(m_oArguments.iFrame) + "', but '" +
                                           m_oArguments.sInput + "' has " + std::to_string(m_oSource.pVideo->Frames()) +
                                           " frames.");
        }
        return FrameImage(frame);
    }

    /// Whether a picture that starts in a format takes one, or a stream, of shared chroma.
    bool MakesPairs(GUID const& format) const {
        GUID const last = m_oFormats.empty() ? format : m_oFormats.back();
        if (IsStream(m_oArguments.sOutput)) return HeaderFor(last, 1, 1).eLayout == media::Y4mLayout::k422;
        return std::any_of(m_oFormats.begin(), m_oFormats.end(), media::HoldsPairs);
    }

    media::Y4mWriter OpenWriter(media::Y4mHeader const& header) const {
        return WithCode(kUnwritable, [&] { return media::Y4mWriter(m_oArguments.sOutput, header); });
    }

    void Write(media::Y4mWriter& writer, media::Y4mFrame const& frame) const {
        if (IsInterrupted()) throw Failure(kInterrupted, "interrupted; the video is not whole.");
        WithCode(kUnwritable, [&] { writer.Write(frame); });
    }

    void ImageToVideo(IXFImage& image) const {
        GUID format{};
        image.GetFormat(&format);
        media::Y4mHeader header = HeaderFor(format, m_oSource.Width(), m_oSource.Height());
        header.oRate = *ParseRate(m_oArguments.oVideo.sRate);
        media::Y4mFrame frame;
        Refusing([&] { StoreFrame(image, WritesRec709(), header, frame); });
        media::Y4mWriter writer = OpenWriter(header);
        for (int i = 0; i < m_oArguments.oVideo.iFrames; ++i) Write(writer, frame);
        WithCode(kUnwritable, [&] { writer.Finish(); });
    }

    void VideoToVideo() {
        media::Y4mHeader header = media::ImageHeader(m_oSource.pVideo->Header());
        if (!m_oFormats.empty()) {
            media::Y4mHeader const wanted = HeaderFor(m_oFormats.back(), header.iWidth, header.iHeight);
            header.eLayout = wanted.eLayout;
            header.iBits = wanted.iBits;
        }
        media::Y4mWriter writer = OpenWriter(header);
        media::Y4mFrame in, out;
        while (ReadFrame(in)) {
            out.sParameters = in.sParameters;
            Refusing([&] { StoreFrame(*Through(FrameImage(in)).Get(), WritesRec709(), header, out); });
            Write(writer, out);
        }
        WithCode(kUnwritable, [&] { writer.Finish(); });
    }

    Arguments const& m_oArguments;
    media::Source m_oSource;
    std::vector<GUID> m_oFormats;
    bool m_b709 = false;
    media::Bytes m_oScratch;
};

}  // namespace

void AddConvert(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("convert", "Converts pictures and videos between formats");
    auto const arguments = std::make_shared<Arguments>();
    pCommand->add_option("INPUT", arguments->sInput, "Picture or y4m video, - for the standard input")->required();
    pCommand->add_option("-o,--output", arguments->sOutput, "Picture, or video (.y4m, -)")->required();
    pCommand->add_option("--format", arguments->oFormats, "Formats to take one after the other, such as CbYCrY_16")
        ->delimiter(',');
    pCommand->add_option("--frame", arguments->iFrame, "Frame of a video for a picture, from 1 (the default)")
        ->check(CLI::Range(1, 1 << 30));
    pCommand->add_flag("--no-filter", arguments->bNoFilter, "Repeats and drops chroma instead of filtering it");
    pCommand->add_flag("--dither", arguments->bDither, "Carries rounding errors along the line to 8 bits");
    AddVideoOptions(*pCommand, arguments->oVideo);
    AddRows(*pCommand, InputRows(), arguments->oFiles, "convert");
    AddRows(*pCommand, OutputRows(), arguments->oFiles, "convert");
    pCommand->callback([arguments] { Conversion(*arguments).Run(); });
}

}  // namespace qzil::command
