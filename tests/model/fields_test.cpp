// The deinterlacer against a plain model, in random scenes of every kind of format.

#include "model/model.h"
#include "support/levels.h"
#include "support/plain_layout.h"

#include "qzil/field/deinterlace.h"
#include "qzil/frame/image_utils.h"

#include <array>

namespace qzil::test::model {
namespace {

enum Slot : std::size_t { kInput, kOutA, kOutB, kCompA, kCompB, kSlots };

/// A call, whose images may be one and the same in several slots.
struct Fields {
    GUID oFormat{};
    std::array<Ref<IXFImage>, kSlots> oImages;
    qzILBbox2l oRoi;
    qzILVector2l oOffset;
    unsigned uMode = 15;
    qzILInterpolationType uType = 1;
    double dfMin = 0.0, dfMax = 0.15;
    qzILColor oColor{0.2, 0.7, 0.4, 0.9};

    void SetUp(qzILDeinterlace& effect) const {
        effect.SetInputImg(oImages[kInput].Get());
        effect.SetROI(oRoi);
        effect.SetOutputOffset(oOffset);
        effect.SetOutputImg(oImages[kOutA].Get());
        effect.SetOutputImgB(oImages[kOutB].Get());
        effect.SetCompImgA(oImages[kCompA].Get());
        effect.SetCompImgB(oImages[kCompB].Get());
        effect.SetProcessingMode(uMode);
        effect.SetInterpolationType(uType);
        effect.SetMinThreshold(dfMin);
        effect.SetMaxThreshold(dfMax);
        effect.SetDefaultColor(oColor);
    }
};

template <class T>
T Mean(T a, T b) {
    if constexpr (kIsFloat<T>) return (a + b) * 0.5f;
    return static_cast<T>((i64{static_cast<i64>(a)} + static_cast<i64>(b) + 1) >> 1);
}

template <class T>
double Threshold(double t, Kind kind) {
    if constexpr (kIsFloat<T>) return t;
    if constexpr (kIsS2_14<T>) return Limit14(Round(t * 16384));
    double const full = double{One<T>()};
    double const levels = kind == Kind::Mono ? t * full : t * 0.8588235294117647 * full;
    return std::clamp(std::trunc(levels + 0.5), 0.0, full);
}

template <class T>
double Luma(T const* c, GUID const& format) {
    if constexpr (kIsFloat<T>) return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2];
    bool const full = kIsS2_14<T> || IsFormatVideoLevels(format);
    auto const at = [&](int i) { return static_cast<i64>(c[i]); };
    i64 const sum = full ? 19595 * at(0) + 38470 * at(1) + 7471 * at(2) : 16829 * at(0) + 33039 * at(1) + 6416 * at(2);
    i64 const half = kIsByte<T> && !full ? 0x108000 : 32768;
    i64 const y = (sum - (sum < 0 ? 65536 : 0) + half) >> 16;
    return static_cast<double>(kIsByte<T> ? y & 255 : y);
}

template <class T>
T Mix(T inTime, T inSpace, double d, double low, double high) {
    if (d <= low) return inTime;
    if (d >= high) return inSpace;
    if constexpr (kIsFloat<T>) {
        double const w = (d - low) / (high - low);
        return static_cast<T>(double{inTime} * (1 - w) + double{inSpace} * w);
    } else {
        int const k = kIsByte<T> ? 20 : 31;
        i64 const one = i64{1} << k, w = static_cast<i64>(d - low) * (one / static_cast<i64>(high - low));
        i64 const sum = inTime * (one - w) + inSpace * w;
        return static_cast<T>((sum - (sum < 0 ? one : 0) + one / 2) >> k);
    }
}

using Buffers = std::array<std::vector<u8>, kSlots>;

/// The colour plane, or the alpha plane as a picture of its own.
template <class T>
void DeinterlacePlane(Fields const& f, Buffers& before, Buffers& after, bool alpha) {
    Kind const kind = alpha || IsFormatMono(f.oFormat) ? Kind::Mono : IsFormatRGB(f.oFormat) ? Kind::Rgba : Kind::Video;
    int const n = kind == Kind::Mono ? 1 : kind == Kind::Rgba ? 4 : 2;
    PlainLayout const input(f.oImages[kInput].Get());
    int const height = input.iHeight;
    qzILBbox2l const part = f.oRoi.Intersect(qzILBbox2l(0, 0, input.iWidth, height));
    qzILVector2l const shift = f.oOffset - f.oRoi.Origin;
    auto const row = [&](Buffers& buffers, Slot slot, int x, int y) {
        PlainLayout const layout(f.oImages[slot].Get());
        return reinterpret_cast<T*>(buffers[slot].data() + (alpha ? layout.Alpha(x, y) : layout.Pixel(x, y)));
    };
    auto const in = [&](Slot slot, int s) -> T const* { return row(before, slot, part.Origin.x, s); };
    auto const out = [&](Slot slot, int s) { return row(after, slot, part.Origin.x + shift.x, s + shift.y); };
    auto const kept = [&](int s) {
        return s >= part.Origin.y && s < part.Origin.y + part.Size.y &&
               !(f.uMode & ((s + shift.y) % 2 != 0 ? 0x200 : 0x100));
    };
    int const samples = part.Size.x * n;
    for (int s = part.Origin.y; s < part.Origin.y + part.Size.y; ++s) {
        Slot const own = s & 1 ? kOutB : kOutA;
        if (kept(s) && f.oImages[own]) std::copy_n(in(kInput, s), samples, out(own, s));
    }
    for (int s = part.Origin.y; s < part.Origin.y + part.Size.y; ++s) {
        Slot const other = s & 1 ? kOutA : kOutB, compared = s & 1 ? kCompA : kCompB;
        if (!kept(s) || !f.oImages[other]) continue;
        int const one = std::min(1, height - 1), last = std::max(0, height - 2);
        T const* const above = kept(s - 1) ? out(other, s - 1) : in(kInput, s > 0 ? s - 1 : one);
        T const* const below = kept(s + 1) ? out(other, s + 1) : in(kInput, s + 1 < height ? s + 1 : last);
        T* const target = out(other, s);
        for (int i = 0; i < samples; ++i) {
            if (f.uType == 1) target[i] = s & 1 ? above[i] : below[i];
            if (f.uType == 2) target[i] = Mean(above[i], below[i]);
        }
        if (f.uType != 4) continue;
        T const *const c = in(kInput, s), *const p = in(compared, s);
        int const group = kind == Kind::Mono ? 1 : 4, y0 = IsFormatAlternateYUV(f.oFormat) ? 1 : 0;
        for (int i = 0; i < samples; ++i) {
            int const g = i / group * group;
            auto const far = [&](int at) {
                return at < samples ? std::abs(static_cast<double>(c[at]) - static_cast<double>(p[at])) : 0.0;
            };
            double const d = kind == Kind::Mono    ? far(i)
                             : kind == Kind::Video ? std::max(far(g + y0), far(g + y0 + 2))
                                                   : std::abs(Luma(c + g, f.oFormat) - Luma(p + g, f.oFormat));
            target[i] = Mix(Mean(c[i], p[i]), Mean(above[i], below[i]), d, Threshold<T>(f.dfMin, kind),
                            Threshold<T>(f.dfMax, kind));
        }
    }
}

/// Twice the same from one seed: regions beyond the input, outputs larger than those, images in several places.
Fields RandomFields(GUID const& format, std::uint64_t seed) {
    Random random(seed);
    int const step = HasPairs(format) ? 2 : 1;
    Fields f;
    f.oFormat = format;
    int const width = random.Between(1, 37), height = random.OneIn(3) ? random.Between(1, 3) : random.Between(1, 12);
    f.oRoi = qzILBbox2l(0, 0, width, height);
    int outWidth = width, outHeight = height;
    bool const region = random.OneIn(2);
    if (region) {
        f.oRoi = qzILBbox2l(random.Between(-2, 3) * step, random.Between(-2, 3), random.Between(1, 12) * step,
                            random.Between(1, 10));
        f.oOffset = qzILVector2l(random.Below(3) * step, random.Below(4));
        outWidth = f.oOffset.x + f.oRoi.Size.x + random.Below(3),
        outHeight = f.oOffset.y + f.oRoi.Size.y + random.Below(3);
    }
    for (std::size_t i = 0; i < kSlots; ++i) {
        bool const output = i == kOutA || i == kOutB;
        f.oImages[i] = MakeRandomImage(format, output ? outWidth : width, output ? outHeight : height, seed * 8 + i);
    }
    // A still background, so that motion of every size is met.
    for (Slot const slot : {kCompA, kCompB}) {
        auto const from = Bytes(f.oImages[kInput]), to = Bytes(f.oImages[slot]);
        std::size_t const size = GetChannelSizeFromFormat(format);
        for (std::size_t i = 0; i < to.size(); i += size) {
            if (!random.OneIn(4)) std::copy_n(&from[i], size, &to[i]);
            if (size < 4 && random.OneIn(2)) to[i] = static_cast<u8>(to[i] ^ random.Below(32));
        }
    }
    if (!region && random.OneIn(2)) {
        f.oImages[random.OneIn(2) ? kOutA : kOutB] = f.oImages[kInput];
        if (random.OneIn(2)) f.oImages[kCompA] = f.oImages[random.OneIn(2) ? kOutA : kOutB];
        if (random.OneIn(2)) f.oImages[kCompB] = f.oImages[random.OneIn(2) ? kOutB : kInput];
    }
    if (random.OneIn(4)) f.oImages[random.OneIn(2) ? kOutA : kOutB] = {};
    if (!f.oImages[kOutA]) f.oImages[kCompA] = {};
    f.uMode |= random.OneIn(3) ? static_cast<unsigned>(random.Between(1, 2)) << 8 : 0;
    f.uType = 1u << std::min(2, random.Below(5));
    static constexpr double kThresholds[][2] = {{0.0, 0.15}, {0.0, 0.0}, {0.1, 0.1},
                                                {0.02, 0.5}, {0.0, 1.0}, {1.0, 1.0}};
    auto const& thresholds = kThresholds[random.Below(6)];
    f.dfMin = thresholds[0], f.dfMax = thresholds[1];
    return f;
}

void CheckScene(GUID const& format, std::uint64_t seed, int& checked) {
    Fields const f = RandomFields(format, seed), filled = RandomFields(format, seed);
    qzILDeinterlace effect;
    f.SetUp(effect);
    if (effect.Verify() != 1) {
        // Divided pairs, or a video region without a pixel of the input.
        unsigned const code = effect.GetLastError().GetErrorCode();
        EXPECT_TRUE(code == 0x10060u || code == 0x20001u) << code;
        return;
    }
    ++checked;
    PlainLayout const input(f.oImages[kInput].Get());
    qzILVector2l const shift = f.oOffset - f.oRoi.Origin;
    qzILBbox2l const outer(f.oOffset.x, f.oOffset.y, f.oRoi.Size.x, f.oRoi.Size.y);
    qzILBbox2l inner = f.oRoi.Intersect(qzILBbox2l(0, 0, input.iWidth, input.iHeight));
    if (!inner.IsEmpty()) inner.Origin += shift;
    Buffers before, after;
    for (std::size_t i = 0; i < kSlots; ++i) {
        auto const bytes = Bytes(f.oImages[i].Get());
        before[i].assign(bytes.begin(), bytes.end());
        if (f.oImages[i] && (i == kOutA || i == kOutB)) {
            qzILFillImageWithColor(filled.oImages[i].Get(), f.oColor, f.uMode, &outer, &inner);
            auto const ground = Bytes(filled.oImages[i].Get());
            after[i].assign(ground.begin(), ground.end());
        }
    }
    VisitType(GetChannelTypeFromFormat(format), [&](auto zero) {
        DeinterlacePlane<decltype(zero)>(f, before, after, false);
        if (input.HasAlphaPlane()) DeinterlacePlane<decltype(zero)>(f, before, after, true);
    });
    ASSERT_EQ(effect.Execute(), 1);
    for (Slot const slot : {kOutA, kOutB}) {
        if (!f.oImages[slot]) continue;
        EXPECT_EQ(SampleDifference(format, after[slot], Bytes(f.oImages[slot])), "")
            << NameOf(format) << " seed " << seed << " output " << slot << " type " << f.uType << " mode " << f.uMode
            << " input " << input.iWidth << " x " << input.iHeight << " thresholds " << f.dfMin << " " << f.dfMax;
    }
}

TEST(Deinterlacing, EqualsItsModel) {
    ForEachLevel([] {
        for (GUID const& format : qzILFieldBasedImgProc::GetFormats()) {
            int checked = 0;
            for (std::uint64_t seed = 1; seed <= 200 && !testing::Test::HasFailure(); ++seed)
                CheckScene(format, seed, checked);
            EXPECT_GT(checked, 80) << NameOf(format);
        }
    });
}

/// Every fault of a table is added to those behind it, and must be the one that is told.
TEST(DeinterlaceChecks, FollowTheirOrder) {
    GUID const format = MFIF_CbYCrY_16;
    auto const of = [](GUID const& g, int width, int height) { return MakeImage(g, width, height); };
    Fields f;
    f.oFormat = format;
    for (auto& image : f.oImages) image = of(format, 6, 4);
    f.oRoi = qzILBbox2l(0, 0, 4, 4);
    Ref<IXFImage> bare, other = of(MFIF_MONO_RAW_8, 6, 4), small = of(format, 2, 2);
    qzILCreateImage(nullptr, IID_IXFImage, bare.Out());
    struct Fault {
        unsigned uCode;
        std::function<void()> oMake;
    };
    auto const put = [&](Slot slot, Ref<IXFImage> const& image) {
        return [&f, slot, &image] { f.oImages[slot] = image; };
    };
    Ref<IXFImage> const none;
    Fault const faults[] = {
        {0x1000B, put(kInput, none)},
        {0x1000C, put(kInput, bare)},
        {0x10034, [&] { f.oImages[kInput] = of(MFIF_BGRA_RAW_32, 6, 4); }},
        {0x10003, put(kOutA, bare)},
        {0x1000E, put(kOutA, other)},
        {0x1000A, put(kOutA, small)},
        {0x10060, [&] { f.oOffset.x = 1, f.oImages[kOutA] = of(format, 6, 4); }},
        {0x20002, [&] { f.uMode = 7; }},
        {0x1003C, [&] { f.oImages[kOutA] = f.oImages[kOutB]; }},
        {0x1000C, put(kCompA, bare)},
        {0x1000E, put(kCompA, other)},
        {0x1003D, put(kCompA, small)},
        {0x1000C, put(kCompB, bare)},
        {0x1000E, put(kCompB, other)},
        {0x1003D, put(kCompB, small)},
        {0x10003, put(kOutB, bare)},
        {0x1000E, put(kOutB, other)},
        {0x1000A, put(kOutB, small)},
        {0x1000F, [&] { f.uType = 3; }},
        {0x1000B, [&] { f.uType = 4, f.oImages[kCompB] = {}; }},
        {0x10046, [&] { f.dfMin = 0.2; }},
    };
    for (std::size_t i = std::size(faults); i-- > 0;) {
        // Output A stays a fit one until its own faults.
        if (faults[i].uCode == 0x1003C) f.oImages[kOutB] = of(format, 6, 4);
        faults[i].oMake();
        qzILDeinterlace effect;
        f.SetUp(effect);
        EXPECT_EQ(effect.Verify(), -1);
        EXPECT_EQ(effect.GetLastError().GetErrorCode(), faults[i].uCode) << "fault " << i;
    }
}

}  // namespace
}  // namespace qzil::test::model
