// Guards against a failed or abandoned write that truncates the user's file, leaves a temporary
// behind or changes the file's mode.
#include "common/CAtomicFileWriter.h"
#include "common/testing/FullDisk.h"
#include "common/testing/TempFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

using namespace KELCTRL;
using kel_testing::TempFolder;
namespace fs = std::filesystem;

namespace {

std::string Read(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

unsigned ModeOf(const fs::path& p) {
    struct stat st {};
    return ::stat(p.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

} // namespace

TEST(AtomicFileWriter, ReplacesWholeKeepsTheModeAndTrimsTheReservation) {
    TempFolder dir("kel_atomic");
    ASSERT_FALSE(dir.path().empty());
    const fs::path target = dir.path() / "photo.jpg";
    ASSERT_EQ(CAtomicFileWriter::WriteWhole(target, "old content"), 1);
    ASSERT_EQ(::chmod(target.c_str(), 0600), 0);

    CAtomicFileWriter writer(target);
    ASSERT_EQ(writer.Open(1 << 20), 1); // more reserved than written
    ASSERT_EQ(writer.Write("new ", 4), 1);
    EXPECT_EQ(Read(target), "old content"); // untouched until the commit
    ASSERT_EQ(writer.Write("bytes", 5), 1);
    ASSERT_EQ(writer.Commit(), 1);
    EXPECT_EQ(Read(target), "new bytes");
    EXPECT_EQ(ModeOf(target), 0600u);
    EXPECT_EQ(dir.Entries().size(), 1u);

    // A new file gets what any program's new file gets.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ASSERT_EQ(CAtomicFileWriter::WriteWhole(dir.path() / "new.txt", "x"), 1);
    EXPECT_EQ(ModeOf(dir.path() / "new.txt"), 0666u & ~mask);
}

TEST(AtomicFileWriter, AbandonedOrFailedWritesLeaveTheOldFileAndNoTemporary) {
    TempFolder dir("kel_atomic");
    ASSERT_FALSE(dir.path().empty());
    const fs::path target = dir.path() / "settings.xml";
    ASSERT_EQ(CAtomicFileWriter::WriteWhole(target, "keep me"), 1);
    {
        CAtomicFileWriter writer(target);
        ASSERT_EQ(writer.Open(), 1);
        ASSERT_EQ(writer.Write("half", 4), 1);
        EXPECT_EQ(dir.Entries().size(), 2u);
    } // never committed
    EXPECT_EQ(Read(target), "keep me");
    EXPECT_EQ(dir.Entries().size(), 1u);

    // The disk fills half way: the file size limit fails the write as a full disk would.
    const std::string big(64 * 1024, 'z');
    CAtomicFileWriter writer(target);
    int opened = -1, written = -1;
    {
        const auto full = kel_testing::FullDisk::FileSizeLimit(4096);
        ASSERT_TRUE(full.Active());
        opened = writer.Open();
        written = opened ? writer.Write(big.data(), big.size()) : 0;
    }
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(writer.Error(), EFBIG);
    EXPECT_EQ(writer.Commit(), 0);
    EXPECT_EQ(Read(target), "keep me");
    EXPECT_EQ(dir.Entries().size(), 1u);

    std::string error;
    EXPECT_EQ(CAtomicFileWriter::WriteWhole(dir.path(), "x", &error), 0); // a folder is no file
    EXPECT_NE(error.find(std::strerror(EISDIR)), std::string::npos) << error;
    EXPECT_EQ(CAtomicFileWriter::WriteWhole(dir.path() / "missing" / "f", "x", &error), 0);
    EXPECT_NE(error.find(std::strerror(ENOENT)), std::string::npos) << error;
    EXPECT_EQ(dir.Entries().size(), 1u);
}
