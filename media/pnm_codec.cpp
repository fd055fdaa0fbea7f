#include "media/byte_stream.h"
#include "media/codecs.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>

// PBM, PGM and PPM, as text or binary, and PAM: http://netpbm.sourceforge.net/doc/
namespace qzil::media {

namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr std::uint32_t kHighest = 65535;

struct Head {
    char cKind = 0;  ///< the digit behind the P
    std::uint32_t uWidth = 0, uHeight = 0, uDepth = 0, uMax = 0;
};

class Reader {
public:
    explicit Reader(InputStream& stream) : m_oStream(stream) {}

    Picture Read(ReadOptions const& options) {
        m_oHead.cKind = (Next(), Next());
        m_oHead.cKind == '7' ? ReadPamHead() : ReadPnmHead();
        CheckSize(m_oHead.uWidth, m_oHead.uHeight);
        CheckPage(options, 1);
        if (m_oHead.uDepth < 1 || m_oHead.uDepth > 4) throw Fault("it has more than four channels");
        if (m_oHead.uMax < 1 || m_oHead.uMax > kHighest) throw Fault("its largest value is not from 1 to 65535");
        Picture picture;
        picture.iWidth = static_cast<int>(m_oHead.uWidth);
        picture.iHeight = static_cast<int>(m_oHead.uHeight);
        picture.iChannels = static_cast<int>(m_oHead.uDepth);
        picture.iDepth = m_oHead.uMax > 255 ? 16 : 8;
        if (!options.bSamples) return picture;
        GrowingRows rows(picture);
        for (int y = 0; y < picture.iHeight; ++y) {
            unsigned char* const pRow = rows.Row(y);
            picture.iDepth == 8 ? ReadRow<std::uint8_t>(pRow) : ReadRow<std::uint16_t>(pRow);
        }
        return picture;
    }

private:
    char Next() {
        unsigned char byte = 0;
        if (m_oStream.Read({&byte, 1}) == 0) throw Fault(kEndsEarly);
        return static_cast<char>(byte);
    }

    static bool IsBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

    /// The next number and the character behind it; comments go to the end of their line.
    std::uint32_t Number() {
        char c = Next();
        while (IsBlank(c) || c == '#') {
            while (c == '#') {
                while ((c = Next()) != '\n') {
                }
            }
            c = Next();
        }
        std::uint32_t value = 0;
        for (; c >= '0' && c <= '9'; c = Next()) {
            value = std::min<std::uint32_t>(value * 10 + static_cast<std::uint32_t>(c - '0'), 1u << 27);
            if (m_bLastDigit && m_oStream.Peek(1).empty()) return value;
        }
        if (!IsBlank(c)) throw Fault("its head is damaged");
        return value;
    }

    void ReadPnmHead() {
        m_oHead.uWidth = Number();
        m_oHead.uHeight = Number();
        bool const bits = m_oHead.cKind == '1' || m_oHead.cKind == '4';
        m_oHead.uDepth = m_oHead.cKind == '3' || m_oHead.cKind == '6' ? 3 : 1;
        m_oHead.uMax = bits ? 1 : Number();
    }

    void ReadPamHead() {
        for (;;) {
            auto line = m_oStream.ReadLine(kLongestLine, "the file");
            if (!line) throw Fault(kEndsEarly);
            if (*line == "ENDHDR") return;
            std::size_t const blank = std::min(line->find(' '), line->size());
            std::uint32_t const value =
                static_cast<std::uint32_t>(std::min(std::strtoul(line->c_str() + blank, nullptr, 10), 1ul << 27));
            std::string_view const name = std::string_view(*line).substr(0, blank);
            if (name == "WIDTH") m_oHead.uWidth = value;
            if (name == "HEIGHT") m_oHead.uHeight = value;
            if (name == "DEPTH") m_oHead.uDepth = value;
            if (name == "MAXVAL") m_oHead.uMax = value;
        }
    }

    /// v * full / largest, rounded to the nearest, halves up.
    template <class T>
    T Scaled(std::uint32_t value) const {
        constexpr std::uint64_t kFull = static_cast<T>(~0u);
        std::uint32_t const most = m_oHead.uMax;
        return static_cast<T>((std::min(value, most) * kFull + most / 2) / most);
    }

    std::uint32_t TextValue() {
        m_bLastDigit = true;
        if (m_oHead.cKind != '1') return Number();
        char c = Next();
        while (IsBlank(c)) c = Next();
        if (c != '0' && c != '1') throw Fault("its samples are damaged");
        return c == '0' ? 1 : 0;
    }

    template <class T>
    void ReadRow(unsigned char* row) {
        std::size_t const count = std::size_t{m_oHead.uWidth} * m_oHead.uDepth;
        auto const store = [row](std::size_t i, T value) { std::memcpy(row + i * sizeof value, &value, sizeof value); };
        if (m_oHead.cKind < '4') {
            for (std::size_t i = 0; i < count; ++i) store(i, Scaled<T>(TextValue()));
            return;
        }
        bool const bits = m_oHead.cKind == '4';
        m_oRow.resize(bits ? (count + 7) / 8 : count * sizeof(T));
        if (m_oStream.Read(m_oRow) != m_oRow.size()) throw Fault(kEndsEarly);
        for (std::size_t i = 0; i < count; ++i) {
            std::uint32_t const value = bits             ? ~m_oRow[i / 8] >> (7 - i % 8) & 1u
                                        : sizeof(T) == 1 ? m_oRow[i]
                                                         : m_oRow[2 * i] * 256u + m_oRow[2 * i + 1];
            store(i, Scaled<T>(value));
        }
    }

    InputStream& m_oStream;
    Head m_oHead;
    Bytes m_oRow;
    bool m_bLastDigit = false;  ///< a text may end with its last number
};

Bytes Encode(Picture const& picture, std::string const& head, int channels) {
    Bytes file(head.begin(), head.end());
    std::size_t const sample = static_cast<unsigned>(picture.iDepth) / 8;
    bool const swap = sample == 2 && std::endian::native == std::endian::little;
    std::size_t const pixels = picture.oBytes.size() / picture.PixelBytes();
    file.reserve(file.size() + pixels * static_cast<unsigned>(channels) * sample);
    for (std::size_t i = 0; i < pixels; ++i) {
        unsigned char const* const pPixel = picture.oBytes.data() + i * picture.PixelBytes();
        for (std::size_t byte = 0; byte < static_cast<unsigned>(channels) * sample; ++byte) {
            file.push_back(pPixel[swap ? byte ^ 1 : byte]);
        }
    }
    return file;
}

std::string MaxText(Picture const& picture) {
    return picture.iDepth == 8 ? "255" : "65535";
}

}  // namespace

Picture DecodePnm(InputStream& stream, ReadOptions const& options) {
    return Reader(stream).Read(options);
}

Bytes EncodePnm(Picture const& picture, WriteOptions const&) {
    bool const grey = picture.iChannels < 3;
    std::string const head = std::string(grey ? "P5" : "P6") + "\n" + std::to_string(picture.iWidth) + " " +
                             std::to_string(picture.iHeight) + "\n" + MaxText(picture) + "\n";
    return Encode(picture, head, grey ? 1 : 3);
}

Bytes EncodePam(Picture const& picture, WriteOptions const&) {
    static constexpr char const* kTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    std::string const head = "P7\nWIDTH " + std::to_string(picture.iWidth) + "\nHEIGHT " +
                             std::to_string(picture.iHeight) + "\nDEPTH " + std::to_string(picture.iChannels) +
                             "\nMAXVAL " + MaxText(picture) + "\nTUPLTYPE " + kTypes[picture.iChannels - 1] +
                             "\nENDHDR\n";
    return Encode(picture, head, picture.iChannels);
}

}  // namespace qzil::media
