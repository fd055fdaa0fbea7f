#include "qzil/platform/stream.h"

#include "image/image_questions.h"
#include "support/failing_stream.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

using namespace qzil::test;
using namespace qzil::platform;
using Stream = Ref<IStream>;
constexpr HRESULT kBroken = Result(0x80030001);

Stream MemoryStream(ByteVector const& bytes = {}) {
    Stream stream;
    EXPECT_EQ(CreateMemoryStream(bytes.data(), bytes.size(), stream.Typed()), kOk);
    return stream;
}

void Rewind(Stream const& stream) {
    EXPECT_EQ(stream->Seek(LARGE_INTEGER{}, 0, nullptr), kOk);
}

ByteVector Contents(Stream const& stream) {
    Rewind(stream);
    ByteVector bytes(100000);
    std::uint32_t read = 0;
    EXPECT_EQ(stream->Read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &read), kOk);
    bytes.resize(read);
    return bytes;
}

Ref<IPersistStream> Persist(Image const& image) {
    return As<IPersistStream>(image.Get(), IID_IPersistStream);
}

ByteVector Saved(Image const& image) {
    auto const stream = MemoryStream();
    EXPECT_EQ(Persist(image)->Save(stream.Get(), 1), kOk);
    return Contents(stream);
}

template <class T>
T At(ByteVector const& bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, &bytes.at(offset), sizeof value);
    return value;
}

template <class T>
void Put(ByteVector& bytes, std::size_t offset, T value) {
    std::memcpy(&bytes.at(offset), &value, sizeof value);
}

void ExpectEmpty(Image const& image) {
    EXPECT_EQ(image->IsEqual(NewImage().Get()), 0);
    EXPECT_EQ(PixelsOf(image), nullptr);
}

TEST(Save, PutsEveryFieldAtItsPlace) {
    auto const image = Described();
    ByteVector const bytes = Saved(image);
    ASSERT_EQ(bytes.size(), 100u + 90u);
    constexpr unsigned char kFormat[16] = {0x08, 0xbb, 0x99, 0xc2, 0x6d, 0xf4, 0xd3, 0x11,
                                           0xa2, 0x96, 0x08, 0x00, 0x36, 0x04, 0x43, 0xca};
    EXPECT_EQ(std::memcmp(bytes.data(), kFormat, 16), 0);
    std::uint32_t const words[][2] = {{16, 6},  {20, 5}, {56, 11},         {60, 32},         {64, 1},  {68, 1}, {72, 3},
                                      {76, 90}, {80, 7}, {84, 0xFFFFFFF8}, {88, 0xC0FFEE01}, {92, 33}, {96, 44}};
    for (auto const& [offset, value] : words) EXPECT_EQ(At<std::uint32_t>(bytes, offset), value) << offset;
    double const reals[] = {2.5, 3.5, -4.5, 5.5};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(At<double>(bytes, 24 + 8 * i), reals[i]);
    EXPECT_EQ(DescribeDifference(Bytes(image), std::span(bytes).subspan(100)), "");
    ULARGE_INTEGER size{};
    EXPECT_EQ(Persist(image)->GetSizeMax(&size), kOk);
    EXPECT_EQ(size.QuadPart, 190u);
    GUID classId{};
    EXPECT_EQ(Persist(image)->GetClassID(&classId), kOk);
    EXPECT_EQ(classId, CLSID_ILImage);
    EXPECT_EQ(Persist(image)->GetClassID(nullptr), kInvalidArgument);
    EXPECT_EQ(Persist(image)->IsDirty(), 0);
}

TEST(Load, GivesBackWhatWasSaved) {
    auto const image = Described(), loaded = MakeRandomImage(MFIF_RGBA_FLOAT, 9, 9, 1);
    for (std::uint32_t arraySize : {90u, 0u, 1u, 91u, 0xFFFFFFFFu}) {  // read, and not believed
        ByteVector bytes = Saved(image);
        Put(bytes, 76, arraySize);
        ASSERT_EQ(Persist(loaded)->Load(MemoryStream(bytes).Get()), kOk);
        EXPECT_EQ(loaded->IsEqual(image.Get()), 0) << arraySize;
    }
    EXPECT_EQ(FrameOf(loaded), (Frame{33, 44}));
}

TEST(Persist, RefusesNullExternalPixelsAndUserData) {
    auto const image = Described();
    auto const stream = MemoryStream(Saved(image));
    auto const expect = [&](IStream* target, HRESULT result) {
        EXPECT_EQ(Persist(image)->Save(target, 0), result);
        EXPECT_EQ(Persist(image)->Load(target), result);
        EXPECT_EQ(FormatOf(image.Get()), MFIF_CbYCrYA_24) << "untouched";
    };
    expect(nullptr, kInvalidArgument);
    image->SetUserData(image.Get());
    expect(stream.Get(), kUnexpected);
    image->SetUserData(nullptr);
    unsigned char pixel[90] = {};
    image->SetPixelArray(pixel);
    expect(stream.Get(), kUnexpected);
}

TEST(Persist, AFailureOfAnyStepIsReturned) {
    auto const image = Described();
    ByteVector const bytes = Saved(image);
    for (int call = 1; call <= 5; ++call) {
        auto const target = MemoryStream();
        FailingStream writes(target.Get(), call, kBroken);
        EXPECT_EQ(Persist(image)->Save(&writes, 0), kBroken) << call;
        EXPECT_EQ(writes.Calls(), call) << "nothing is written behind a failure";
        auto const source = MemoryStream(bytes);
        FailingStream reads(source.Get(), call, kBroken);
        auto const loaded = MakeRandomImage(MFIF_RGBA_RAW_32, 3, 3, 1);
        EXPECT_EQ(Persist(loaded)->Load(&reads), kBroken) << call;
        EXPECT_EQ(reads.Calls(), call);
        ExpectEmpty(loaded);
    }
    auto const target = MemoryStream();
    FailingStream counting(target.Get(), 0, kBroken);
    EXPECT_EQ(Persist(image)->Save(&counting, 0), kOk);
    EXPECT_EQ(counting.Calls(), 5);
    FailingStream warning(target.Get(), 5, kFalse);
    Rewind(target);
    EXPECT_EQ(Persist(NewImage())->Load(&warning), kOk) << "only a negative result is a failure";
}

TEST(Load, ShortStreamsAreNotFailures) {
    ByteVector const whole = Saved(Described());
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        ByteVector const cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        auto const loaded = MakeRandomImage(MFIF_RGBA_RAW_32, 3, 3, 1);
        ASSERT_EQ(Persist(loaded)->Load(MemoryStream(cut).Get()), kOk) << length;
        Size const size = ResOf(loaded);
        unsigned pixelSize = 0, attributes = 9;
        loaded->GetPixelSize(&pixelSize);
        ASSERT_EQ(Bytes(loaded).size(), static_cast<unsigned>(size.iWidth * size.iHeight) * pixelSize) << length;
        if (length >= 76) {
            ASSERT_EQ(Bytes(loaded).size(), 90u) << length;
        }
        loaded->GetAllAttributes(&attributes);
        ASSERT_EQ(attributes, length >= 92 ? 0xC0FFEE01u : length > 88 ? attributes : 0u) << length;
        ASSERT_EQ(FrameOf(loaded).uHeader, length > 92 ? 33u : 0u)
            << "at " << length << " of the stream it starts at 0";
    }
}

TEST(Load, HostileSizesAreOutOfMemoryAndLeaveTheImageEmpty) {
    for (Row const& row : ReadTable("image/impossible_sizes.tsv")) {
        ByteVector bytes = Saved(Described());
        std::pair<char const*, std::size_t> const fields[] = {
            {"width", 16}, {"height", 20}, {"pixel size", 72}, {"header", 92}, {"footer", 96}};
        for (auto const& [column, place] : fields) Put(bytes, place, row.Number(column));
        auto const loaded = MakeRandomImage(MFIF_RGBA_RAW_32, 3, 3, 1);
        bool const negative = row.Number("width") < 0 || row.Number("height") < 0;
        EXPECT_EQ(Persist(loaded)->Load(MemoryStream(bytes).Get()), negative ? kInvalidArgument : kOutOfMemory)
            << row["width"] << ' ' << row["height"] << ' ' << row["header"];
        ExpectEmpty(loaded);
        EXPECT_EQ(loaded->Allocate(2, 2), kOk);
    }
}

/// Tells its length, leaves the count of what was read alone, and keeps the largest size that it was asked for.
struct CarelessStream final : IStream {
    Stream pInner;
    std::uint32_t uAsked = 0;

    explicit CarelessStream(Stream inner) : pInner(std::move(inner)) {}
    HRESULT QueryInterface(GUID const&, void**) override { return kNoInterface; }
    std::uint32_t AddRef() override { return 2; }
    std::uint32_t Release() override { return 1; }
    HRESULT Read(void* bytes, std::uint32_t size, std::uint32_t*) override {
        uAsked = std::max(uAsked, size);
        return pInner->Read(bytes, size, nullptr);
    }
    HRESULT Write(void const*, std::uint32_t, std::uint32_t*) override { return kFailure; }
    HRESULT Seek(LARGE_INTEGER move, std::uint32_t origin, ULARGE_INTEGER* position) override {
        return pInner->Seek(move, origin, position);
    }
};

TEST(Load, AsksForNoMoreThanAStreamHolds) {
    ByteVector bytes = Saved(MakeRandomImage(MFIF_RGBA_RAW_32, 100, 100, 1));
    bytes.resize(100 + 150);
    { auto const stale = MakeRandomImage(MFIF_RGBA_RAW_32, 100, 100, 2); }
    CarelessStream stream(MemoryStream(bytes));
    auto const loaded = NewImage();
    ASSERT_EQ(Persist(loaded)->Load(&stream), kOk);
    EXPECT_EQ(stream.uAsked, 150u);
    EXPECT_EQ(Bytes(loaded)[150], 0) << "no other image's pixel";
}

// 100 bytes that claim hundreds of megabytes, in a size class of the pool and above all, take no memory for them.
TEST(Load, MemoryIsTakenForWhatAStreamHolds) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer touches what it gives out";
#endif
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    for (std::int32_t const height : {70000, 250000}) {
        ByteVector bytes = Saved(Described());
        bytes.resize(100);
        Put(bytes, 16, std::int32_t{1024});
        Put(bytes, 20, height);
        Put(bytes, 72, std::uint32_t{4});
        auto const loaded = NewImage();
        ASSERT_EQ(Persist(loaded)->Load(MemoryStream(bytes).Get()), kOk);
        EXPECT_EQ(SizeOf(loaded), 4096u * static_cast<unsigned>(height));
        EXPECT_EQ(Bytes(loaded)[4096u * static_cast<unsigned>(height) - 1], 0);
    }
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024) << "KiB";
}

TEST(Streams, MemoryGrowsSeeksAndEnds) {
    auto const stream = MemoryStream({1, 2, 3});
    unsigned char buffer[8] = {};
    std::uint32_t count = 9;
    EXPECT_EQ(stream->Read(buffer, 2, &count), kOk);
    EXPECT_EQ(count, 2u);
    EXPECT_GE(stream->Read(buffer, 8, &count), 0) << "a read at the end is no failure";
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(buffer[0], 3);
    LARGE_INTEGER distance{};
    ULARGE_INTEGER position{};
    distance.QuadPart = -1;
    EXPECT_EQ(stream->Seek(distance, 2, &position), kOk);
    EXPECT_EQ(position.QuadPart, 2u);
    unsigned char const more[] = {7, 8, 9};
    EXPECT_EQ(stream->Write(more, 3, &count), kOk);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(Contents(stream), (ByteVector{1, 2, 7, 8, 9}));
    distance.QuadPart = -100;
    EXPECT_LT(stream->Seek(distance, 0, nullptr), 0);
    EXPECT_LT(stream->Seek({}, 7, nullptr), 0) << "an origin that does not exist";
    EXPECT_GE(stream->Read(nullptr, 0, nullptr), 0) << "the count is optional";
}

TEST(Streams, AnImageSurvivesAFile) {
    auto const path = std::filesystem::temp_directory_path() / ("qzil_stream_test_" + std::to_string(std::rand()));
    auto const image = Described(), loaded = NewImage();
    {
        Stream file;
        ASSERT_EQ(CreateFileStream(path.c_str(), FileMode::Write, file.Typed()), kOk);
        EXPECT_EQ(Persist(image)->Save(file.Get(), 0), kOk);
    }
    EXPECT_EQ(std::filesystem::file_size(path), 190u);
    {
        Stream file;
        ASSERT_EQ(CreateFileStream(path.c_str(), FileMode::Read, file.Typed()), kOk);
        EXPECT_EQ(Persist(loaded)->Load(file.Get()), kOk);
        EXPECT_LT(file->Write("x", 1, nullptr), 0) << "opened for reading";
    }
    EXPECT_EQ(loaded->IsEqual(image.Get()), 0);
    std::filesystem::remove(path);
    Stream missing;
    EXPECT_EQ(CreateFileStream(path.c_str(), FileMode::Read, missing.Typed()), kFailure);
    EXPECT_EQ(CreateFileStream((path / "in").c_str(), FileMode::Write, missing.Typed()), kFailure);
    EXPECT_FALSE(missing);
}

}  // namespace
