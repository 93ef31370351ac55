/// Small files of other programs and what they hold, and what happens when such a file is damaged.
#include "imaging/codec_files.h"

#include <random>

#include "support/arrays.h"

namespace {

using test::Bytes;
using test::Image;

class StoredFile : public testing::TestWithParam<std::string> {
  protected:
    StoredFile() : m_case(test::LoadCase("codecs", GetParam())) {}

    Bytes Read() const { return test::ReadFile(m_case.File(m_case.Json.at("file"))); }

    Image Expected() const {
        const test::Array<std::uint16_t> planes = test::ReadUint16s(m_case.File("planes.npy"));
        const std::vector<std::int32_t> values(planes.Values.begin(), planes.Values.end());
        return test::FromPlanes(static_cast<std::int32_t>(planes.Shape[2]), static_cast<std::int32_t>(planes.Shape[1]),
                                m_case.Json.at("format"), values);
    }

    test::Case m_case;
};

TEST_P(StoredFile, LoadsAsTheSamplesThatItWasMadeOf) {
    const Image image = test::LoadBytes(Read());
    ASSERT_TRUE(image) << test::LastReason();
    EXPECT_EQ(image->Origin, 0);
    EXPECT_TRUE(test::SameImage(*Expected(), *image));
}

TEST_P(StoredFile, CutShortIsRefusedOrWhole) {
    const Bytes whole = Read();
    const Image expected = Expected();
    test::MemoryFile file;
    file.Set(whole);
    std::size_t refused = 0;
    for (std::size_t bytes = whole.size(); bytes-- > 0;) {
        file.Cut(bytes);
        const Image image = test::LoadFile(file.Path());
        if (image) {
            ASSERT_TRUE(test::SameImage(*expected, *image)) << "cut after " << bytes << " of " << whole.size();
        } else {
            ++refused;
        }
    }
    // These two end with a mark; of others, bytes behind the last sample can be missing.
    const bool hasEndMark = GetParam().starts_with("png_") || GetParam().starts_with("jpeg_");
    EXPECT_GE(refused, hasEndMark ? whole.size() : whole.size() / 4);
}

TEST_P(StoredFile, WithChangedBytesIsRefusedOrLoadedWithoutHarm) {
    const Bytes whole = Read();
    test::MemoryFile file;
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        Bytes changed = whole;
        for (std::uint_fast32_t n = 1 + random() % 3; n > 0; --n) {
            // Headers stand at the front, or in a TIFF at the back.
            const std::size_t span = random() % 2 == 0 ? std::min<std::size_t>(64, whole.size()) : whole.size();
            const std::size_t at = random() % span;
            changed[random() % 4 == 0 ? whole.size() - 1 - at : at] = static_cast<std::uint8_t>(random());
        }
        file.Set(changed);
        const Image image = test::LoadFile(file.Path());
        if (image) {
            EXPECT_GE(test::ToPlanes(*image).size(), 1u);
        }
    }
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Codecs, StoredFile, testing::ValuesIn(test::CaseNames("codecs")), Name);

} // namespace
