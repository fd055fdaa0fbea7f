#pragma once

#include "model/model.h"
#include "support/plain_layout.h"

#include "qzil/image/color.h"
#include "qzil/image/core_values.h"
#include "qzil/numeric/random_number.h"

#include <array>

/// The conversions between formats, pixel by pixel in wide integers and single precision.
namespace qzil::test::model {

/// The conversions of graphics formats, YCC and hue, lightness, saturation, by a call's formats.
void ConvertModel(Call& call);

enum class Depth { Byte, Word, Fixed, Real };
Depth DepthOf(GUID const& format);
/// The value of full alpha.
float FullOf(GUID const& format);

using Pixel = std::array<float, 4>;

/// An image's samples by column and logical line. Every integer sample is exact in a float.
class Samples {
public:
    Samples(IXFImage* image, std::span<u8> bytes);

    GUID const& Format() const { return m_oLayout.oFormat; }
    int Width() const { return m_oLayout.iWidth; }
    int Count() const { return static_cast<int>(m_oLayout.PixelStep() / m_oLayout.uChannelSize); }
    float Get(int x, int y, int c) const { return Load(m_oLayout.Pixel(x, y), c); }
    /// Rounds half away from zero and limits to the channel's range; a float is stored as it is.
    void Put(int x, int y, int c, float value) { Store(m_oLayout.Pixel(x, y), c, value); }
    float GetPlane(int x, int y) const { return Load(m_oLayout.Alpha(x, y), 0); }
    void PutPlane(int x, int y, float value) { Store(m_oLayout.Alpha(x, y), 0, value); }

    /// Red, green, blue, alpha; full alpha where there is none, one value where the image is mono.
    Pixel GetRgba(int x, int y) const;
    void PutRgba(int x, int y, Pixel const& pixel);

private:
    float Load(std::size_t place, int c) const;
    void Store(std::size_t place, int c, float value);

    PlainLayout m_oLayout;
    std::span<u8> m_oBytes;
};

/// Rounded half away from zero and limited; NaN gives the lower limit.
float RoundLimit(float value, float low, float high);

/// What a model of a line is given: line and first column on both sides, and the number of pixels.
struct LineJob {
    Samples const& oIn;
    Samples& oOut;
    int iInX, iInY, iOutX, iOutY, iWidth;
    bool bFilter, bDither;
    qzILRandomNumber& oDraws;  ///< from 0 to below 1
};

void RgbaLine(LineJob const& line);
void ColorLine(LineJob const& line);
void ToYccLine(LineJob const& line);
void FromYccLine(LineJob const& line);
/// One sample between depths; `video` tells of 8-bit colour at video levels on that side.
float DepthOfSample(float value, Depth from, bool fromVideo, Depth to, bool toVideo);

}  // namespace qzil::test::model
