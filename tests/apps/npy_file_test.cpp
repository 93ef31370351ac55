#include "npy_file.h"

#include <cmath>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"
#include "support/file_text.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

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
    const std::string bytes = test::ReadText(File());
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

TEST_F(NpyFile, ReadsHeadersHoweverTheyAreWritten) {
    for (const char* const header : {
             "{'shape': (1, 2), 'fortran_order': False, 'descr': '<f4'}",
             "{'fortran_order': False, 'descr': '<f4', 'shape': (1, 2,),}\n",
             "{\"descr\":\"<f4\",\"fortran_order\":False,\"shape\":(1,2)}",
             "  {  'descr' :  '<f4' ,\n 'fortran_order' :  False , 'shape' : ( 1 , 2 ) , }  \n\n",
         }) {
        SCOPED_TRACE(header);
        const app::HeightMap map = app::LoadNpy(WriteNpy(File(), header, "\0\0\x80\x3F\0\0\x20\xC0"s));
        EXPECT_EQ(map.Width, 2);
        EXPECT_EQ(map.Height, 1);
        EXPECT_EQ(map.Values, (std::vector<double>{1.0, -2.5}));
    }
}

TEST_F(NpyFile, ReadsVersionsOneToThree) {
    const std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (1, 1), }\n";
    const auto load = [&](char version) {
        std::ofstream(File(), std::ios::binary) << "\x93NUMPY"s << version << '\0' << static_cast<char>(header.size())
                                                << (version == 1 ? "\0"s : "\0\0\0"s) << header << "\0\0\x80\x3F"s;
        return app::LoadNpy(File()).Values;
    };
    for (const char version : {'\1', '\2', '\3'}) EXPECT_EQ(load(version), std::vector<double>{1.0}) << int{version};
    for (const char version : {'\0', '\4', '\xFF'}) EXPECT_THROW(load(version), app::Failure) << int{version};
}

TEST_F(NpyFile, RefusesWhatIsNoHeightMap) {
    for (const char* const header : {
             "{'descr': '<i4', 'fortran_order': False, 'shape': (1, 1), }",
             "{'descr': '=f8', 'fortran_order': False, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': True, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1,), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (, 1), }",
             "{'descr': '<f8', 'fortran_order': False, }",
             "{'descr': '<f8', 'shape': (1, 1), }",
             "{'fortran_order': False, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1), 'more': 1}",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1), } more",
             "{'descr': '<f8' 'fortran_order': False, 'shape': (1, 1), }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1),, }",
             "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 1), ",
             "{'descr': '<f8",
             "{",
             "",
         })
        EXPECT_THROW(app::LoadNpy(WriteNpy(File(), header, "12345678")), app::Failure) << header;
    EXPECT_THROW(app::LoadNpy(File().parent_path() / "missing.npy"), app::Failure);
    EXPECT_FALSE(app::IsNpyFile(File().parent_path() / "missing.npy"));
}

TEST_F(NpyFile, RefusesSizesThatCannotBe) {
    for (const char* const shape :
         {"(0, 4)", "(4, 0)", "(-1, 1)", "(1, -1)", "(-1, -1)", "(2147483648, 1)", "(1, 2147483648)", "(65536, 65536)",
          "(999999999, 999999999)", "(9223372036854775808, 1)", "(1, 99999999999999999999999)"}) {
        SCOPED_TRACE(shape);
        const std::string header =
            std::string("{'descr': '<f8', 'fortran_order': False, 'shape': ").append(shape).append(", }");
        try {
            app::LoadNpy(WriteNpy(File(), header, "12345678"));
            FAIL();
        } catch (const app::Failure& failure) {
            EXPECT_EQ(failure.what(), File().native() + ": size out of range");
        }
    }
}

// Each of them would have a reader that calls itself run out of its stack.
TEST_F(NpyFile, ReadsOrRefusesLongHeaders) {
    constexpr std::size_t kLongest = 65535;
    const auto load = [&](std::string header, std::size_t length) {
        header.resize(length, ' ');
        std::ofstream(File(), std::ios::binary) << "\x93NUMPY\1\0"s << static_cast<char>(length & 0xFF)
                                                << static_cast<char>(length >> 8) << header << "\0\0\x80\x3F"s;
        return app::LoadNpy(File()).Values;
    };
    const std::string end = "'<f4', 'fortran_order': False, 'shape': (1, 1), }";
    EXPECT_EQ(load("{'descr': " + end, kLongest), std::vector<double>{1.0});
    EXPECT_EQ(load("{'descr':" + std::string(65000, ' ') + end, kLongest), std::vector<double>{1.0});
    EXPECT_THROW(load("{'descr':", kLongest), app::Failure);
    for (const char filler : {'{', '(', '\'', ',', '1'})
        EXPECT_THROW(load("{'shape': (" + std::string(65000, filler), kLongest), app::Failure) << filler;
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
