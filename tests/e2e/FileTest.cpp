#include "FileTest.h"

void FileTest::leave(Program& shell) {
    shell.write("wait\nexit");
    EXPECT_EQ(shell.waitForExit(), 0);
    EXPECT_EQ(shell.errors().text(), "");
}

// The rate's line does not end with it.
Rate FileTest::leaveReceiver(Program& shell) {
    leave(shell);
    const std::string& text = shell.output().text();
    const std::size_t found = text.rfind("transferred ");
    Rate rate = Rate::readFrom(found == std::string::npos ? text : text.substr(found));
    EXPECT_NE(rate.rest.substr(0, 1), "\n");
    return rate;
}

std::string FileTest::chunk(std::size_t payload) {
    std::string bytes;
    for (std::size_t k = 0; k < payload; ++k) bytes += static_cast<char>(k % 256);
    return bytes;
}
