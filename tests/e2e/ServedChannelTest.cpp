#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include "PlainFile.h"
#include "ProcessState.h"
#include "ServedTest.h"

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t Capacity = 65536;
constexpr milliseconds IdleTime{300};

class ServedChannelTest : public ServedTest {
  protected:
    static inline const Options Hasty{"--capacity", std::to_string(Capacity), "--idle-timeout",
                                      std::to_string(IdleTime.count())};

    std::set<std::string> list(const std::string& directory) const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(mountPoint() / directory))
            names.insert(entry.path().filename());
        return names;
    }
};

// Other bytes for each seed, but the same every time.
std::string randomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random()); });
    return bytes;
}

void writeInPieces(PlainFile& file, const std::string& bytes) {
    constexpr std::size_t Sizes[] = {1, 4095, 70001, 4097, 300000};
    for (std::size_t sent = 0, i = 0; sent < bytes.size(); sent += Sizes[i++ % std::size(Sizes)])
        EXPECT_FALSE(file.write(bytes.substr(sent, Sizes[i % std::size(Sizes)]))) << file.error();
}

TEST_F(ServedChannelTest, ChannelsAtOnceKeepTheirBytesApartInOrderAndComplete) {
    const TransportServer server(mountPoint(), Patient);
    const Clock::time_point start = Clock::now();
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        const std::string name = "channel " + std::to_string(seed);
        threads.emplace_back([writing = writingEnd(name), seed] {
            PlainFile file(writing, O_WRONLY);
            writeInPieces(file, randomBytes(5000000, seed));
        });
        threads.emplace_back([reading = readingEnd(name), seed] {
            PlainFile file(reading, O_RDONLY);
            EXPECT_TRUE(file.readToEnd(65537) == randomBytes(5000000, seed));
            EXPECT_EQ(file.error(), 0);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_LT(Clock::now() - start, Program::Watchdog);
}

TEST_F(ServedChannelTest, FileEndsWithItsLastWriterWhenAllIsRead) {
    const TransportServer server(mountPoint(), Patient);
    const Clock::time_point start = Clock::now();
    PlainFile reader(readingEnd(), O_RDONLY);
    {
        PlainFile last(writingEnd(), O_WRONLY);
        EXPECT_FALSE(PlainFile(writingEnd(), O_WRONLY).write("first"));
        EXPECT_FALSE(last.write("last"));
    }
    EXPECT_EQ(reader.read(3), "fir");
    EXPECT_EQ(reader.read(100), "stlast");
    EXPECT_EQ(reader.read(100), "");
    EXPECT_EQ(reader.error(), 0);
    EXPECT_FALSE(PlainFile(writingEnd(), O_WRONLY).write("stays"));
    EXPECT_EQ(reader.readToEnd(), "stays");
    EXPECT_FALSE(PlainFile(writingEnd(), O_WRONLY).write("for another"));
    EXPECT_EQ(PlainFile(readingEnd(), O_RDONLY).readToEnd(), "for another");

    auto writer = std::make_unique<PlainFile>(writingEnd(), O_WRONLY);
    std::thread closing([&writer] {
        std::this_thread::sleep_for(milliseconds(100));  // the read waits by then
        writer.reset();
    });
    EXPECT_EQ(reader.read(100), "");
    closing.join();
    EXPECT_LT(Clock::now() - start, Program::Watchdog) << "it was the idle time that ended the file";
}

TEST_F(ServedChannelTest, IdleTimeEndsWhatWaits) {
    const TransportServer server(mountPoint(), Hasty);
    PlainFile reader(readingEnd(), O_RDONLY);
    PlainFile writer(writingEnd(), O_WRONLY);
    Clock::time_point start = Clock::now();
    std::thread passing([this] {
        std::this_thread::sleep_for(IdleTime / 3);
        const PlainFile another(writingEnd(), O_WRONLY);  // it is not the last that it closes
    });
    EXPECT_EQ(reader.read(10), "");
    EXPECT_EQ(reader.error(), 0);
    EXPECT_GE(Clock::now() - start, IdleTime);
    passing.join();

    EXPECT_FALSE(writer.write(std::string(Capacity - 1, 'x')));
    start = Clock::now();
    EXPECT_TRUE(writer.write("yz"));
    EXPECT_EQ(writer.error(), ETIMEDOUT);
    EXPECT_GE(Clock::now() - start, IdleTime);
    EXPECT_FALSE(writer.write("!"));
    EXPECT_TRUE(reader.readToEnd() == std::string(Capacity - 1, 'x') + '!');
}

TEST_F(ServedChannelTest, KilledProgramsWaitNoLongerAndTakeNothingAlong) {
    const TransportServer server(mountPoint(), {"--capacity", std::to_string(Capacity), "--idle-timeout", "60000"});
    const Clock::time_point start = Clock::now();
    PlainFile writer(writingEnd(), O_WRONLY);
    Program reader({readingEnd()}, Program::Output::Piped, "/bin/cat");
    EXPECT_FALSE(writer.write("x\n"));
    reader.waitForLine("x");  // and waits for more
    reader.letRun(milliseconds(50));
    reader.kill();
    EXPECT_FALSE(writer.write(std::string(Capacity, 'x')));
    Program other({"if=/dev/zero", "of=" + writingEnd().string(), "bs=65536"}, Program::Output::Piped, "/bin/dd");
    other.letRun(milliseconds(200));
    other.kill();
    EXPECT_LT(Clock::now() - start, Program::Watchdog);
    PlainFile next(readingEnd(), O_RDONLY);
    EXPECT_TRUE(next.read(2 * Capacity) == std::string(Capacity, 'x'));
    EXPECT_FALSE(writer.write("next"));
    EXPECT_EQ(next.read(100), "next");
}

TEST_F(ServedChannelTest, DirectoriesListTheChannelsThatExist) {
    using Names = std::set<std::string>;
    const TransportServer server(mountPoint(), Patient);
    EXPECT_EQ(list(""), (Names{"connect", "spawn"}));
    const PlainFile open(readingEnd("open"), O_RDONLY);
    EXPECT_FALSE(PlainFile(writingEnd("unread"), O_WRONLY | O_CREAT | O_TRUNC).write("x"));
    for (const char* directory : {"connect", "spawn"})
        EXPECT_EQ(list(directory), (Names{"open", "unread", "zidfile"})) << directory;
    PlainFile(readingEnd("unread"), O_RDONLY).readToEnd();
    EXPECT_TRUE(eventually([this] { return list("spawn") == Names{"open", "zidfile"}; }));
}

TEST_F(ServedChannelTest, EndsWorkInTheirDirectionOnly) {
    const TransportServer server(mountPoint(), Patient);
    EXPECT_EQ(PlainFile(writingEnd(), O_RDONLY).error(), EACCES);
    EXPECT_EQ(PlainFile(readingEnd(), O_WRONLY).error(), EACCES);
    PlainFile writer(writingEnd(), O_RDWR | O_CREAT | O_TRUNC);
    PlainFile reader(readingEnd(), O_RDWR | O_CREAT | O_TRUNC);
    EXPECT_FALSE(writer.write("x"));
    (void)writer.read(1);
    EXPECT_EQ(writer.error(), EBADF);
    EXPECT_TRUE(reader.write("y"));
    EXPECT_EQ(reader.error(), EBADF);
    EXPECT_EQ(PlainFile(readingEnd(), O_RDWR | O_CREAT | O_TRUNC).read(10), "x");
}

}  // namespace
