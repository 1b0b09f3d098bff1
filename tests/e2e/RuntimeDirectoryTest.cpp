#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "EndToEndTest.h"

namespace {

namespace fs = std::filesystem;

// The programs cannot start where they are led, and tell why.
class RuntimeDirectoryTest : public EndToEndTest {
  protected:
    static void expectRefusal(const std::string& directory, const std::string& subject, const std::string& reason) {
        ::setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
        for (const auto& arguments : std::vector<std::vector<std::string>>{{}, {"-s", "1"}}) {
            Program program(arguments);
            EXPECT_EQ(program.waitForExit(), 255);
            const std::string text = program.output().text();
            EXPECT_TRUE(program.output().holdsInOrder({"could not start COMM Agent: *"}));
            EXPECT_EQ(program.output().lines().size(), 1U) << text;
            EXPECT_NE(text.find(subject), std::string::npos) << subject << " is not in " << text;
            EXPECT_NE(text.find(reason), std::string::npos) << reason << " is not in " << text;
            EXPECT_EQ(program.errors().text(), "");
        }
    }
};

TEST_F(RuntimeDirectoryTest, MissingOneIsTold) {
    const std::string missing = runtimeDirectory() / "missing";
    expectRefusal(missing, missing, "No such file or directory");
}

TEST_F(RuntimeDirectoryTest, FileInItsPlaceIsTold) {
    const std::string file = runtimeDirectory() / "file";
    std::ofstream(file) << "x";
    expectRefusal(file, file, "Not a directory");
}

TEST_F(RuntimeDirectoryTest, RelativeOneIsRefused) {
    expectRefusal("here", "'here'", "no absolute path");
}

TEST_F(RuntimeDirectoryTest, OneOfAnotherUserIsRefused) {
    const std::string foreign = runtimeDirectory() / "foreign";
    fs::create_directory(foreign);
    if (::chown(foreign.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only root can give a directory away";
    expectRefusal(foreign, foreign, "belongs to user 65534");
}

TEST_F(RuntimeDirectoryTest, LinkInItIsNotFollowed) {
    fs::create_directory(runtimeDirectory() / "elsewhere");
    fs::create_directory_symlink(runtimeDirectory() / "elsewhere", meetingPlace());
    expectRefusal(runtimeDirectory(), meetingPlace(), "Not a directory");
    EXPECT_TRUE(fs::is_empty(runtimeDirectory() / "elsewhere"));
}

TEST_F(RuntimeDirectoryTest, OneThatIsOpenToOthersIsRefused) {
    fs::create_directory(meetingPlace());
    fs::permissions(meetingPlace(), fs::perms::owner_all | fs::perms::others_write);
    expectRefusal(runtimeDirectory(), meetingPlace(), "open to others");
}

TEST_F(RuntimeDirectoryTest, LongerOneThanASocketAddressServesAsWell) {
    const fs::path longOne = runtimeDirectory() / std::string(100, 'a') / std::string(100, 'b');
    fs::create_directories(longOne);
    ::setenv("XDG_RUNTIME_DIR", longOne.c_str(), 1);
    Program service({"-s", "2"});
    Program shell({});
    runTest(shell, 2);
    EXPECT_FALSE(fs::is_empty(longOne / "zidbench"));
    leave(shell);
}

}  // namespace
