#include "ServedTest.h"

#include <fcntl.h>

#include "PlainFile.h"

ServedTest::~ServedTest() {
    for (const std::string& path : TransportServer::mountPointsIn(runtimeDirectory())) TransportServer::unmount(path);
}

void ServedTest::SetUp() {
    if (const std::string obstacle = TransportServer::obstacle(); !obstacle.empty()) GTEST_SKIP() << obstacle;
}

void ServedTest::expectService() const {
    EXPECT_FALSE(PlainFile(writingEnd(), O_WRONLY).write("x"));
    EXPECT_EQ(PlainFile(readingEnd(), O_RDONLY).read(10), "x");
}

void ServedTest::expectRefusal(const std::vector<std::string>& arguments, const std::string& subject) {
    Program program = TransportServer::start(arguments);
    expectRefusal(program, subject);
}

void ServedTest::expectRefusal(Program& program, const std::string& subject) {
    EXPECT_EQ(program.waitForExit(), 1);
    EXPECT_EQ(program.output().text(), "");
    const std::string& text = program.errors().text();
    EXPECT_EQ(text.compare(0, 16, "transportserver:"), 0) << text;
    EXPECT_NE(text.find(subject), std::string::npos) << subject << " is not in " << text;
    EXPECT_NE(text.find(": ", 17), std::string::npos) << "no advice in " << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}
