#include "library/documents/ofd/zip_writer.h"

#include "library/files/memory_sink.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(ZipWriter, independentReaderFindsEveryEntryWhole)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "a.zip").string();
    const std::string text(5000, 'a');
    const Bytes noise = pictures::jpegOf(pictures::page(100, 100));
    MemorySink sink;
    ZipWriter zip(sink, std::time(nullptr));
    ASSERT_TRUE(zip.add("text.xml", ByteView(text.data(), text.size()), ZipMethod::Deflated));
    ASSERT_TRUE(zip.add("folder/noise.jpg", noise, ZipMethod::Stored));
    ASSERT_TRUE(zip.add("empty", ByteView(), ZipMethod::Deflated));
    ASSERT_TRUE(zip.finish());
    pictures::writeBytes(path, sink.bytes());

    EXPECT_EQ(runProgram({"unzip", "-tqq", path}).status, 0);
    EXPECT_EQ(runProgram({"unzip", "-p", path, "text.xml"}).output, text);
    const std::string unpacked = runProgram({"unzip", "-p", path, "folder/noise.jpg"}).output;
    EXPECT_EQ(Bytes(unpacked.begin(), unpacked.end()), noise);
    EXPECT_LT(sink.size(), noise.size() + 1000);
}

TEST(ZipWriter, manyEntriesTakeTheLargeRecord)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "a.zip").string();
    MemorySink sink;
    ZipWriter zip(sink, 0);
    constexpr int kCount = 65'600;
    for (int i = 0; i < kCount; ++i)
        ASSERT_TRUE(zip.add(std::to_string(i), ByteView("x", 1), ZipMethod::Stored));
    ASSERT_TRUE(zip.finish());
    pictures::writeBytes(path, sink.bytes());
    EXPECT_EQ(runProgram({"unzip", "-tqq", path}).status, 0);
    EXPECT_EQ(runProgram({"unzip", "-p", path, "65599"}).output, "x");
}
