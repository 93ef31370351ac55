#include "npy_file.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::string ReadBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// A file of version 1.0 with this header and these bytes of numbers.
fs::path WriteNpy(const fs::path& file, const std::string& header, const std::string& numbers) {
    std::ofstream stream(file, std::ios::binary);
    stream << "\x93NUMPY\x01"s << '\0' << static_cast<char>(header.size()) << '\0' << header << numbers;
    return file;
}

class NpyFile : public testing::Test {
  protected:
    fs::path File() const { return m_folder.Path() / "z.npy"; }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(NpyFile, HasTheBytesOfTheFormat) {
    app::SaveNpy(File(), {2, 1, {1.0, -2.5}});
    const std::string bytes = ReadBytes(File());
    const std::string header = "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 2), }";
    // 10 bytes before the header, padded with blanks and a line end so that the numbers begin at 128.
    ASSERT_EQ(bytes.size(), 128U + 16U);
    EXPECT_EQ(bytes.substr(0, 10), "\x93NUMPY\x01\x00\x76\x00"s);
    EXPECT_EQ(bytes.substr(10, header.size()), header);
    EXPECT_EQ(bytes.substr(10 + header.size(), 117 - header.size()), std::string(117 - header.size(), ' '));
    EXPECT_EQ(bytes[127], '\n');
    EXPECT_EQ(bytes.substr(128), "\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\x04\xC0"s);
}

TEST_F(NpyFile, ReadsBackEveryHeight) {
    app::HeightMap map{37, 21, {}};
    for (int i = 0; i < 37 * 21; ++i) map.Values.push_back(i * 0.1 - 30.0);
    map.Values[5] = std::numeric_limits<double>::quiet_NaN();
    app::SaveNpy(File(), map);
    EXPECT_TRUE(app::IsNpyFile(File()));
    const app::HeightMap loaded = app::LoadNpy(File());
    EXPECT_EQ(loaded.Width, 37);
    EXPECT_EQ(loaded.Height, 21);
    ASSERT_EQ(loaded.Values.size(), map.Values.size());
    EXPECT_TRUE(std::isnan(loaded.Values[5]));
    for (std::size_t i = 6; i < map.Values.size(); ++i) ASSERT_EQ(loaded.Values[i], map.Values[i]) << i;
}

TEST_F(NpyFile, ReadsFloatsOfEitherSizeAndByteOrder) {
    const auto values = [&](const char* kind, const std::string& numbers) {
        const std::string header =
            std::string("{'descr': '").append(kind).append("', 'fortran_order': False, 'shape': (2, 1), }\n");
        return app::LoadNpy(WriteNpy(File(), header, numbers)).Values;
    };
    const std::vector<double> expected = {1.0, -2.5};
    EXPECT_EQ(values("<f4", "\0\0\x80\x3F\0\0\x20\xC0"s), expected);
    EXPECT_EQ(values(">f4", "\x3F\x80\0\0\xC0\x20\0\0"s), expected);
    EXPECT_EQ(values("<f8", "\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\x04\xC0"s), expected);
    EXPECT_EQ(values(">f8", "\x3F\xF0\0\0\0\0\0\0\xC0\x04\0\0\0\0\0\0"s), expected);
}

TEST_F(NpyFile, RefusesWhatIsNoHeightMap) {
    for (const char* const header : {
             "{'descr': '<i4', 'fortran_order': False, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': True, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1,), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (0, 4), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (999999999, 999999999), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (-1, 1), }",
             "",
         })
        EXPECT_THROW(app::LoadNpy(WriteNpy(File(), header, "12345678")), app::Failure) << header;
    EXPECT_THROW(app::LoadNpy(File().parent_path() / "missing.npy"), app::Failure);
    EXPECT_FALSE(app::IsNpyFile(File().parent_path() / "missing.npy"));
}

TEST_F(NpyFile, RefusesAFileThatIsCutShortAnywhere) {
    app::SaveNpy(File(), {3, 2, {1, 2, 3, 4, 5, 6}});
    for (std::uintmax_t length = fs::file_size(File()); length-- > 0;) {
        fs::resize_file(File(), length);
        EXPECT_THROW(app::LoadNpy(File()), app::Failure) << length;
    }
}

TEST_F(NpyFile, SaysWhereItCannotBeWritten) {
    EXPECT_THROW(app::SaveNpy("/dev/full", {1, 1, {1.0}}), app::Failure);
    EXPECT_THROW(app::SaveNpy(File().parent_path() / "none" / "z.npy", {1, 1, {1.0}}), app::Failure);
}

} // namespace
