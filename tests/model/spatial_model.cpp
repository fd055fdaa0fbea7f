#include "model/spatial_model.h"

#include "qzil/numeric/matrix.h"

#include <array>

namespace qzil::test::model {
namespace {

Picture MakeResults(Region const& region) {
    return {region.iWidth, region.iHeight, region.iChannels};
}

template <class Fn>
Picture ForEachSample(Region const& region, Fn value) {
    Picture results = MakeResults(region);
    for (int y = 0; y < region.iHeight; ++y) {
        for (int x = 0; x < region.iWidth; ++x) {
            for (int c = 0; c < region.iChannels; ++c) results.At(x, y, c) = value(x, y, c);
        }
    }
    return results;
}

double Mix(Region const& region, MixRule rule, double m, double from, double to) {
    double mixed = 0;
    VisitType(region.uType, [&](auto zero) {
        using T = decltype(zero);
        auto const mix = rule == MixRule::Table ? MixByTable<T> : model::Mix<T>;
        mixed = static_cast<double>(mix(static_cast<T>(m), static_cast<T>(from), static_cast<T>(to)));
    });
    return mixed;
}

/// A sum narrowed to the low bits of a sample; limited before it becomes an integer.
double Narrow(Region const& region, double t) {
    double const limited = t != t ? -2147483648.0 : std::clamp(t, -2147483648.0, 2147483647.0);
    i64 const bits = region.uType == XFChannelTypeUInt8 ? 0xFF : 0xFFFF;
    return static_cast<double>(static_cast<i64>(limited) & bits);
}

using Square = std::array<std::array<i64, 3>, 3>;  ///< [row][column]

Square Around(Region const& region, int x, int y, int c) {
    Square square{};
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) square[j][i] = static_cast<i64>(region.In(x - 1 + i, y - 1 + j, c));
    }
    return square;
}

struct Threshold {
    i64 iFull, iThreshold, iBias;

    Threshold(Region const& region, double sensitivity, double bias)
        : iFull(static_cast<i64>(region.Full())),
          iThreshold(Round((1 - sensitivity) * region.Full())),
          iBias(Round(bias * region.Full())) {}
    double operator()(i64 v) const {
        return v <= iThreshold ? 0.0 : static_cast<double>(std::clamp<i64>(v + iBias, 0, iFull));
    }
};

i64 Angle(i64 gx, i64 gy) {
    if (gx == 0) return gy == 0 ? 0 : gy > 0 ? 64 : -65;
    double degrees = std::atan2(static_cast<double>(gy), static_cast<double>(gx)) * 57.29564666748047;
    if (degrees < 0) degrees += 360;
    return Round(degrees * 0.7083333134651184);
}

/// Every pixel cleared as far as mask and channel selection let it.
Picture Clear(Region const& region) {
    return ForEachSample(region, [&](int x, int y, int c) {
        bool const none = !region.oMask.aSamples.empty() && region.oMask.At(x, y) <= 0;
        return none || !region.Selects(c) ? region.In(x, y, c) : 0.0;
    });
}

using Taps = std::array<std::array<int, 3>, 3>;
constexpr Taps kDirections[] = {{{{-1, 0, 1}, {-1, 0, 1}, {-1, 0, 1}}}, {{{-1, -1, 0}, {-1, 0, 1}, {0, 1, 1}}},
                                {{{-1, -1, -1}, {0, 0, 0}, {1, 1, 1}}}, {{{0, -1, -1}, {1, 0, -1}, {1, 1, 0}}},
                                {{{1, 0, -1}, {1, 0, -1}, {1, 0, -1}}}, {{{1, 1, 0}, {1, 0, -1}, {0, -1, -1}}},
                                {{{1, 1, 1}, {0, 0, 0}, {-1, -1, -1}}}, {{{0, 1, 1}, {-1, 0, 1}, {-1, -1, 0}}}};

/// The largest over the directions of each one's committed value.
template <class Fn>
Picture Relief(Region const& region, unsigned directions, int centre, Fn value) {
    Picture results = Clear(region);
    for (unsigned d = 0; d < 8; ++d) {
        if (!(directions >> d & 1)) continue;
        Picture const one = ForEachSample(region, [&](int x, int y, int c) {
            Square const s = Around(region, x, y, c);
            i64 v = centre * s[1][1];
            for (std::size_t j = 0; j < 3; ++j) {
                for (std::size_t i = 0; i < 3; ++i) v += kDirections[d][j][i] * s[j][i];
            }
            return value(v);
        });
        Picture const committed = Commit(region, one, MixRule::Table);
        for (std::size_t i = 0; i < results.aSamples.size(); ++i) {
            results.aSamples[i] = std::max(results.aSamples[i], committed.aSamples[i]);
        }
    }
    return results;
}

bool IsInEllipse(float rx, float ry, int i, int j) {
    return (rx * rx) * (ry * ry) >= static_cast<float>(i * i) * (ry * ry) + static_cast<float>(j * j) * (rx * rx);
}

template <class Fn>
Kernel MakeKernel(float radiusX, float radiusY, Fn tap) {
    Kernel kernel;
    for (int rx = static_cast<int>(radiusX), ry = static_cast<int>(radiusY), j = -ry; j <= ry; ++j) {
        for (int i = -rx; i <= rx; ++i) kernel.push_back(tap(i, j));
    }
    return kernel;
}

/// Of a kernel's line through the centre, scaled to the sum 1.
Kernel CentreLine(Kernel const& kernel, int first, int step, int count) {
    Kernel line;
    float sum = 0;
    for (int i = 0; i < count; ++i) {
        line.push_back(kernel[static_cast<std::size_t>(first + i * step)]);
        sum += line.back();
    }
    for (float& tap : line) tap *= 1.0f / sum;
    return line;
}

/// A filtered float as a sample.
double SampleOf(Region const& region, float f) {
    float const t = f + 0.5f;
    double const limited = t != t ? -1e6 : std::clamp<double>(t, -1e6, 1e6);
    double const whole = static_cast<double>(static_cast<i64>(limited));
    switch (region.uType) {
        case XFChannelTypeFloat: return f + 0.0f;
        case XFChannelTypeS2_14: return whole < -32767 ? -32768 : std::min(whole, 32767.0);
        default: return std::clamp(whole, 0.0, region.Full());
    }
}

Picture Box(Region const& region) {
    int const rx = region.RadiusX(), ry = region.RadiusY(), kw = 2 * rx + 1, kh = 2 * ry + 1;
    bool const isFloat = region.uType == XFChannelTypeFloat;
    double const area = static_cast<double>(kw) * kh;
    i64 const factor = static_cast<i64>(std::floor(4294967296.0 / area + 0.5));
    auto const add = [=](double a, double b) { return isFloat ? static_cast<double>(float(a) + float(b)) : a + b; };
    /// Running sums of `count` along n + count - 1 samples.
    auto const sums = [&](int n, int count, auto sample) {
        std::vector<double> out;
        double sum = 0;
        for (int i = 0; i < count - 1; ++i) sum = add(sum, sample(i));
        for (int i = 0; i < n; ++i) {
            sum = add(sum, sample(i + count - 1));
            out.push_back(sum);
            sum = add(sum, -sample(i));
        }
        return out;
    };
    Picture results = MakeResults(region);
    for (int c = 0; c < region.iChannels; ++c) {
        std::vector<std::vector<double>> columns;
        for (int x = -rx; x < region.iWidth + rx; ++x) {
            columns.push_back(sums(region.iHeight, kh, [&](int j) { return region.In(x, j - ry, c); }));
        }
        for (int y = 0; y < region.iHeight; ++y) {
            auto const line = sums(region.iWidth, kw, [&](int i) {
                return columns[static_cast<std::size_t>(i)][static_cast<std::size_t>(y)];
            });
            for (int x = 0; x < region.iWidth; ++x) {
                double const sum = line[static_cast<std::size_t>(x)];
                results.At(x, y, c) =
                    isFloat ? static_cast<double>(static_cast<float>(1.0 / area) * static_cast<float>(sum))
                            : static_cast<double>((factor * static_cast<i64>(sum) + 0x80000000) >> 32);
            }
        }
    }
    return results;
}

/// Recursive filters down the columns, then along the lines. `pass` is one pass of a filter, `in` and `out` turn
/// samples into its numbers and back.
template <class T, class PassFn, class InFn, class OutFn>
Picture Recurse(Region const& region, int type, float degree, PassFn pass, InFn in, OutFn out) {
    int const rx = region.RadiusX(), ry = region.RadiusY();
    LineFilter const down{type >= 6, double{region.fRadiusY} * degree, ry};
    LineFilter const along{type >= 6, double{region.fRadiusX} * degree, rx};
    Picture results = MakeResults(region);
    for (int c = 0; c < region.iChannels; ++c) {
        std::vector<std::vector<T>> columns;
        for (int x = -rx; x < region.iWidth + rx; ++x) {
            std::vector<T> column;
            for (int y = -ry; y < region.iHeight + ry; ++y) column.push_back(in(region.In(x, y, c)));
            columns.push_back(down.Both(column, [&](std::vector<T> const& v) { return pass(down, v); }));
        }
        for (int y = 0; y < region.iHeight; ++y) {
            std::vector<T> line;
            for (auto const& column : columns) line.push_back(column[static_cast<std::size_t>(y)]);
            line = along.Both(line, [&](std::vector<T> const& v) { return pass(along, v); });
            for (int x = 0; x < region.iWidth; ++x) results.At(x, y, c) = out(line[static_cast<std::size_t>(x)]);
        }
    }
    return results;
}

i64 Fixed(double v) {
    return Round(v * 65536);
}

struct Exponential {
    double dfA, dfB, dfC;

    Exponential(double s, int n) {
        double const a0 = (std::sqrt(8 * s * s + 4) - 2) / (2 * s * s);
        dfB = 1 - a0;
        double const p = std::pow(dfB, n + 1);
        dfA = a0 / (1 - p);
        dfC = a0 * p / (1 - p);
    }
};

struct BoxWithTail {
    double dfR, dfG1, dfG2, dfN;
    int iBox;

    BoxWithTail(double s, int n) {
        double m = s >= 5.3 ? (s - 5.3) * 1.61 + 7.033999999999999 : std::max(0.0, s * 1.38 - 0.28);
        m = std::min<double>(m, n);
        dfR = std::exp(-1.83 / s);
        iBox = static_cast<int>(m);
        dfG1 = dfR > 0 ? std::exp(std::log(dfR) * (1 - (m - iBox))) : 0;
        dfG2 = dfG1 * std::pow(dfR, n - iBox);
        double tail = 0;
        for (int k = iBox + 1; k <= n; ++k) tail = tail * dfR + dfG1;
        dfN = tail + (iBox + 1);
        dfG1 /= dfN;
        dfG2 /= dfN;
    }
};

template <class T>
T Delayed(std::vector<T> const& x, int i) {
    return i < 0 ? T{} : x[static_cast<std::size_t>(i)];
}

}  // namespace

double Region::In(int x, int y, int c) const {
    x += oOrigin.x;
    y += oOrigin.y;
    int const w = oInput.iWidth, h = oInput.iHeight;
    auto const wrap = [](int v, int n) { return (v % n + n) % n; };
    auto const mirror = [&](int v, int n) { return std::min(wrap(v, 2 * n), 2 * n - 1 - wrap(v, 2 * n)); };
    if (x >= 0 && y >= 0 && x < w && y < h) return oInput.At(x, y, c);
    switch (iEdgeMode) {
        case 2: return oInput.At(wrap(x, w), wrap(y, h), c);
        case 3: return oInput.At(std::clamp(x, 0, w - 1), std::clamp(y, 0, h - 1), c);
        case 4: return oInput.At(mirror(x, w), mirror(y, h), c);
        default: return aEdge[static_cast<std::size_t>(c)];
    }
}

double Region::Full() const {
    double full = 0;
    VisitType(uType, [&](auto zero) { full = static_cast<double>(One<decltype(zero)>()); });
    return full;
}

Picture Commit(Region const& region, Picture const& results, MixRule rule) {
    return ForEachSample(region, [&](int x, int y, int c) {
        double const centre = region.In(x, y, c), result = results.At(x, y, c);
        double const m = region.oMask.aSamples.empty() ? region.Full() : region.oMask.At(x, y);
        if (m <= 0 || !region.Selects(c)) return centre;
        return m < region.Full() ? Mix(region, rule, m, centre, result) : result;
    });
}

Picture DetectEdges(Region const& region, Detector detector, int type, double sensitivity, double bias) {
    bool const laplace = detector == Detector::Laplace;
    if (sensitivity == 0 && (laplace || type == 1)) return Clear(region);
    Threshold const threshold(region, sensitivity, bias);
    Picture const results = ForEachSample(region, [&](int x, int y, int c) {
        auto const [t, m, b] = Around(region, x, y, c);
        if (laplace && type == 1) return threshold(4 * m[1] - t[1] - m[0] - m[2] - b[1]);
        if (laplace) return threshold(8 * m[1] - t[0] - t[1] - t[2] - m[0] - m[2] - b[0] - b[1] - b[2]);
        i64 gx, gy;
        if (detector == Detector::Roberts) {
            gx = -t[0] + t[2] - m[0] + m[2] - b[0] + b[2];
            gy = t[0] + t[1] + t[2] - b[0] - b[1] - b[2];
        } else {
            gx = -t[0] + t[2] - (m[0] >> 1) + (m[2] >> 1) - b[0] + b[2];
            gy = -t[0] - (t[1] >> 1) - t[2] + b[0] + (b[1] >> 1) + b[2];
        }
        if (type == 1) return threshold(std::abs(gx) + std::abs(gy));
        return Narrow(region, static_cast<double>(Angle(gx, gy)));
    });
    return Commit(region, results, MixRule::Table);
}

Picture Gradient(Region const& region, unsigned directions, double sensitivity, double bias) {
    if (sensitivity == 0) return Clear(region);
    return Relief(region, directions, 0, Threshold(region, sensitivity, bias));
}

Picture Emboss(Region const& region, unsigned directions) {
    return Relief(region, directions, 1,
                  [&](i64 v) { return static_cast<double>(std::clamp<i64>(v, 0, static_cast<i64>(region.Full()))); });
}

std::optional<Factors> Factorise(Kernel const& kernel, int width, int height) {
    bool const wide = width > height;
    qzILMatrix matrix(wide ? width : height, wide ? height : width);
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            double const tap = kernel[static_cast<std::size_t>((height - 1 - row) * width + column)];
            (wide ? matrix(column, row) : matrix(row, column)) = tap;
        }
    }
    if (!matrix.IsSeparable()) return {};
    qzILMatrix left, right;
    if (matrix.SeparateIntoTensorProduct(left, right) != 1) return {};
    Factors factors;
    for (int i = 0; i < width; ++i) factors.aX.push_back(static_cast<float>((wide ? left : right)(i, 0)));
    for (int j = 0; j < height; ++j) factors.aY.push_back(static_cast<float>((wide ? right : left)(j, 0)));
    return factors;
}

Picture SinglePass(Region const& region, Kernel const& kernel, float offset) {
    int const rx = region.RadiusX(), ry = region.RadiusY();
    Picture const results = ForEachSample(region, [&](int x, int y, int c) {
        float sum = 0;
        std::size_t tap = 0;
        for (int j = -ry; j <= ry; ++j) {
            for (int i = -rx; i <= rx; ++i, ++tap) {
                if (kernel[tap] != 0.0f) sum += kernel[tap] * static_cast<float>(region.In(x + i, y + j, c));
            }
        }
        bool const inFloat = region.uType == XFChannelTypeUInt8 && region.iChannels == 4;
        return Narrow(region, inFloat ? double{sum + (0.5f + offset)} : double{sum + offset} + 0.5);
    });
    return Commit(region, results, MixRule::Table);
}

Picture DualPass(Region const& region, Factors const& factors) {
    int const rx = region.RadiusX(), ry = region.RadiusY();
    auto const weighted = [](Kernel const& taps, auto sample) {
        float sum = 0;
        for (std::size_t i = 0; i < taps.size(); ++i) {
            if (taps[i] != 0.0f) sum += taps[i] * sample(static_cast<int>(i));
        }
        return sum;
    };
    Picture const results = ForEachSample(region, [&](int x, int y, int c) {
        float const sum = weighted(factors.aY, [&](int j) {
            return weighted(factors.aX,
                            [&](int i) { return static_cast<float>(region.In(x - rx + i, y - ry + j, c)); });
        });
        return Narrow(region, double{sum + 0.5f});
    });
    return Commit(region, results, MixRule::Table);
}

Picture SinglePassFixed(Region const& region, Kernel const& kernel, float offset) {
    int const rx = region.RadiusX(), ry = region.RadiusY();
    Picture const results = ForEachSample(region, [&](int x, int y, int c) {
        i64 sum = static_cast<i64>(double{offset} * 65536.0) + 32768;
        std::size_t tap = 0;
        for (int j = -ry; j <= ry; ++j) {
            for (int i = -rx; i <= rx; ++i, ++tap) {
                sum += static_cast<i64>(kernel[tap] * 65536.0f) * static_cast<i64>(region.In(x + i, y + j, c));
            }
        }
        return static_cast<double>(std::clamp<i64>(sum >> 16, 0, 255));
    });
    return Commit(region, results, MixRule::Table);
}

Picture DualPassFixed(Region const& region, Factors const& factors) {
    int const rx = region.RadiusX(), ry = region.RadiusY();
    auto const weighted = [](Kernel const& taps, auto sample) {
        i64 sum = 32768;
        for (std::size_t i = 0; i < taps.size(); ++i) sum += Fixed(taps[i]) * sample(static_cast<int>(i));
        return sum >> 16;
    };
    Picture const results = ForEachSample(region, [&](int x, int y, int c) {
        i64 const value = weighted(factors.aY, [&](int j) {
            return weighted(factors.aX, [&](int i) { return static_cast<i64>(region.In(x - rx + i, y - ry + j, c)); });
        });
        return static_cast<double>(std::clamp<i64>(value, 0, 255));
    });
    return Commit(region, results, MixRule::Table);
}

Picture Convolve(Region const& region, Kernel const& kernel, float offset) {
    int const kw = 2 * region.RadiusX() + 1, kh = 2 * region.RadiusY() + 1;
    auto const factors = kw != 1 && kh != 1 ? Factorise(kernel, kw, kh) : std::nullopt;
    return factors ? DualPass(region, *factors) : SinglePass(region, kernel, offset);
}

Kernel SharpenKernel(float radiusX, float radiusY, float degree) {
    int count = 0;
    Kernel kernel = MakeKernel(radiusX, radiusY, [&](int i, int j) {
        if (!IsInEllipse(radiusX, radiusY, i, j)) return 0.0f;
        ++count;
        return -degree;
    });
    kernel[kernel.size() / 2] = static_cast<float>(count - 1) * degree + 1.0f;
    return kernel;
}

Picture Sharpen(Region const& region, int type, float degree, double sensitivity) {
    Kernel const kernel = SharpenKernel(region.fRadiusX, region.fRadiusY, degree);
    if (type == 1) return Convolve(region, kernel, 0);
    Region edges;  // of the picture's own luminance within the region, under its mask
    edges.uType = region.uType;
    edges.iWidth = region.iWidth;
    edges.iHeight = region.iHeight;
    edges.oInput = ForEachSample(edges, [&](int x, int y, int) {
        auto const in = [&](int c) { return static_cast<i64>(region.In(x, y, c)); };
        i64 const luma = region.iChannels == 1 ? in(0) : (299 * in(0) + 587 * in(1) + 114 * in(2)) / 1000;
        bool const masked = !region.oMask.aSamples.empty();
        return static_cast<double>(masked ? luma & static_cast<i64>(region.oMask.At(x, y)) : luma);
    });
    Region sharpened = region;
    sharpened.oMask = DetectEdges(edges, Detector::Roberts, 1, sensitivity, 0);
    return Convolve(sharpened, kernel, 0);
}

Kernel EllipseKernel(float radiusX, float radiusY, float degree) {
    int count = 0;
    Kernel kernel = MakeKernel(radiusX, radiusY, [&](int i, int j) {
        bool const inside = IsInEllipse(radiusX, radiusY, i, j);
        count += inside;
        return inside ? 1.0f : 0.0f;
    });
    float const share = degree / static_cast<float>(count);
    for (float& tap : kernel) tap *= share;
    kernel[kernel.size() / 2] = 1.0f - share * static_cast<float>(count - 1);
    return kernel;
}

Kernel GaussKernel(float radiusX, float radiusY, float degree) {
    float const sx = degree * radiusX, sy = degree * radiusY;
    float const ix = sx == 0 ? 0 : 1 / (sx * sx), iy = sy == 0 ? 0 : 1 / (sy * sy);
    float sum = 0;
    Kernel kernel = MakeKernel(radiusX, radiusY, [&](int i, int j) {
        float const tap = std::exp((static_cast<float>(i * i) * ix + static_cast<float>(j * j) * iy) * -0.5f);
        sum += tap;
        return tap;
    });
    for (float& tap : kernel) tap *= 1 / sum;
    return kernel;
}

Picture Blur(Region const& region, int type, float degree) {
    float const rx = region.fRadiusX, ry = region.fRadiusY;
    int const kw = 2 * region.RadiusX() + 1, kh = 2 * region.RadiusY() + 1;
    bool const raw = region.uType == XFChannelTypeUInt8 || region.uType == XFChannelTypeUInt16;
    if (type == 1) return Convolve(region, EllipseKernel(rx, ry, degree), 0);
    if (type == 2 || (type == 6 && raw && kw <= 9 && kh <= 9)) {
        Kernel const kernel = GaussKernel(rx, ry, degree);
        if (kw == 1 || kh == 1) return SinglePass(region, kernel, 0);
        return DualPass(region, {CentreLine(kernel, kh / 2 * kw, 1, kw), CentreLine(kernel, kw / 2, kw, kh)});
    }
    if (type == 3) return Commit(region, Box(region), MixRule::Plain);
    if (region.uType == XFChannelTypeUInt8 && (type == 4 || type == 6)) {
        bool const mono = region.iChannels == 1;
        Picture const results = Recurse<i64>(
            region, type, degree, [&](LineFilter const& filter, auto const& x) { return filter.FixedPass(x, mono); },
            [](double v) { return static_cast<i64>(v) * 64; },
            [](i64 v) { return static_cast<double>(std::clamp<i64>(v >> 6, 0, 255)); });
        return Commit(region, results, MixRule::Table);
    }
    Picture const results = Recurse<double>(
        region, type, degree, [](LineFilter const& filter, auto const& x) { return filter.Pass(x); },
        [](double v) { return v; }, [&](double v) { return SampleOf(region, static_cast<float>(v)); });
    return Commit(region, results, MixRule::Plain);
}

std::vector<double> LineFilter::Pass(std::vector<double> const& x) const {
    int const n = iReach, length = static_cast<int>(x.size());
    std::vector<double> out(x.size() - static_cast<std::size_t>(n));
    Exponential const e(dfSpread, n);
    BoxWithTail const b(dfSpread, n);
    double y = 0, sum = 0, tail = 0;
    for (int i = 0; i < length; ++i) {
        double const now = Delayed(x, i), last = Delayed(x, i - n - 1), middle = Delayed(x, i - b.iBox - 1);
        y = e.dfB * y + e.dfA * now - e.dfC * last;
        sum = sum + (now - middle) / b.dfN;
        tail = b.dfR * tail + b.dfG1 * middle - b.dfG2 * last;
        if (i >= n) out[static_cast<std::size_t>(length - 1 - i)] = static_cast<float>(bBox ? sum + tail : y);
    }
    return out;
}

std::vector<i64> LineFilter::FixedPass(std::vector<i64> const& x, bool mono) const {
    int const n = iReach, length = static_cast<int>(x.size());
    std::vector<i64> out(x.size() - static_cast<std::size_t>(n));
    Exponential const e(dfSpread, n);
    BoxWithTail const b(dfSpread, n);
    i64 y = 0, sum = 32768, tail = 0;
    for (int i = 0; i < length; ++i) {
        // A line of one channel looks back two samples less.
        i64 const now = Delayed(x, i), old = Delayed(x, i - n - 1), middle = Delayed(x, i - b.iBox - 1);
        i64 const last = mono && i > n ? Delayed(x, i - n + 1) : old;
        y = (Fixed(e.dfB) * y + Fixed(e.dfA) * now - Fixed(e.dfC) * last + 32768) >> 16;
        sum = sum + (now - middle) * Fixed(1 / b.dfN);
        tail = (tail >> 16) * Fixed(b.dfR) + middle * Fixed(b.dfG1) - old * Fixed(b.dfG2);
        if (i >= n) {
            out[static_cast<std::size_t>(length - 1 - i)] = static_cast<short>(bBox ? (sum + tail) >> 16 : y);
        }
    }
    return out;
}

Picture Glow::operator()(Region const& region, int type, float degree) const {
    Region colours = region;
    colours.uMode = (region.uMode | 7) & ~8u;
    Picture const blurred = Blur(colours, type, degree);
    i64 const low = Round(dfLow * 255), high = Round(dfHigh * 255), presence = Round(dfPresence * 255);
    double const slope = 65536 / (dfHigh - dfLow);
    i64 const factor = Round(std::clamp(slope, -2147483648.0, 2147483647.0));
    Picture results = MakeResults(region);
    for (int y = 0; y < region.iHeight; ++y) {
        for (int x = 0; x < region.iWidth; ++x) {
            auto const b = [&](int c) { return static_cast<i64>(blurred.At(x, y, c)); };
            i64 const luma = (299 * b(0) + 587 * b(1) + 114 * b(2)) / 1000;
            i64 const ramp = std::clamp<i64>((factor * (luma - low) + 32768) >> 16, 0, 255);
            i64 const gain = luma < low ? 0 : luma > high ? 255 : ramp;
            for (int c = 0; c < 4; ++c) {
                i64 const s = static_cast<i64>(region.In(x, y, c)), lit = NormMult(b(c), NormMult(gain, presence));
                i64 const screen = std::min<i64>(255, lit + ((s * (255 - lit) * 257 + 32896) >> 16));
                results.At(x, y, c) = static_cast<double>(c == 3 ? s : screen);
            }
        }
    }
    return Commit(region, results, MixRule::Table);
}

}  // namespace qzil::test::model
