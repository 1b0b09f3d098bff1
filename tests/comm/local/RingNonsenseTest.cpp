#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/mman.h>

#include "Traffic.h"

namespace comm::transport {
namespace {

using Kind = RecordHeader::Kind;

constexpr std::uint32_t MaxSize = recordSize(MaxPiece);
constexpr std::uint32_t LastRecord = RingMemory::Capacity - recordSize(0);
constexpr off_t FileSize = 4096 + off_t{RingMemory::Capacity};

// A new reader and a new writer, and the test plays the other side of each.
class Victim : private RingReader::Sink {
  public:
    void put(std::uint32_t at, const RecordHeader& header) {
        std::memcpy(ring.view.ring() + at, &header, sizeof header);
    }
    // Records one behind the other; the bytes that they claim need not be there.
    void put(const std::vector<RecordHeader>& records) {
        for (std::uint32_t at = 0; const RecordHeader& record : records) {
            put(at, record);
            at += recordSize(record.kind == Kind::LongCall || record.length > MaxPiece ? 0 : record.length);
        }
    }
    // Leads the reader to where no whole piece fits any more.
    std::uint32_t goToTheEnd() {
        std::uint32_t at = 0;
        for (; at + MaxSize <= LastRecord; at += MaxSize) put(at, {MaxPiece, Kind::CallWithArray, 0});
        EXPECT_EQ(read(at), RingReader::Result::Read);
        return at;
    }

    RingReader::Result read(std::uint32_t tail, std::uint32_t generation = 0) {
        ring.control().tail = {tail, generation};
        RingReader::Result result = RingReader::Result::Empty;
        do result = reader.read(*this);  // which takes a part at a time
        while (result == RingReader::Result::Read && reader.hasSomething());
        return result;
    }
    void expectBreak(std::uint32_t tail, std::uint32_t generation = 0) {
        const int before = delivered;
        EXPECT_EQ(read(tail, generation), RingReader::Result::Broken);
        EXPECT_STRNE(reader.fault(), "");
        EXPECT_EQ(delivered, before);
    }

    // Writes small calls until one is not taken, or there are so many.
    RingWriter::Result write(RingPosition head, int calls) {
        static const std::vector<std::uint8_t> bytes(1000);
        ring.control().head = head;
        RingWriter::Result result = RingWriter::Result::Done;
        while (calls-- > 0 && result == RingWriter::Result::Done) {
            Outgoing call = callOf(bytes, 1);
            result = m_writer.write(call);
        }
        return result;
    }

    TestRing ring;
    RingReader reader{ring.share()};
    int delivered = 0;
    int stopAt = -1;

  private:
    bool received(const Message& /*message*/) override { return ++delivered == stopAt; }

    RingWriter m_writer = ring.writer();
};

TEST(RingNonsenseTest, AnImpossibleTailBreaksTheReader) {
    for (const std::uint32_t tail : {1U, 12U, RingMemory::Capacity - 1, RingMemory::Capacity, 0xffffffffU}) {
        SCOPED_TRACE(tail);
        Victim victim;
        victim.put({{0, Kind::Call, 1}, {0, Kind::Call, 1}});
        victim.expectBreak(tail);
    }
    for (const std::uint32_t generation : {2U, 7U, 0xffffffffU}) {
        SCOPED_TRACE(generation);
        Victim victim;
        victim.put({{0, Kind::Call, 1}});
        victim.expectBreak(8, generation);
    }
}

TEST(RingNonsenseTest, ANewGenerationIsReadFromTheBeginning) {
    Victim victim;
    victim.put({{0, Kind::Call, 1}, {0, Kind::Call, 1}});
    EXPECT_EQ(victim.read(16), RingReader::Result::Read);
    EXPECT_EQ(victim.read(8, 1), RingReader::Result::Read);
    EXPECT_EQ(victim.delivered, 3);
    victim.expectBreak(16, 0);
}

TEST(RingNonsenseTest, AnImpossibleRecordBreaksTheReader) {
    struct Case {
        std::vector<RecordHeader> records;
        std::uint32_t tail;
    };
    const Case cases[] = {
        {{{0, 0, 0}}, 8},
        {{{0, 0x7777, 0}}, 8},
        {{{0, Kind::Wrap, 0}}, 8},           // the next record lies ahead
        {{{8, Kind::Call, 0}}, 16},          // a call without an array that has bytes
        {{{8, Kind::CallWithArray, 0}}, 8},  // more bytes than are written
        {{{MaxPiece + 1, Kind::CallWithArray, 0}}, 2 * MaxSize},
        {{{0xffffffff, Kind::CallWithArray, 0}}, 2 * MaxSize},
        {{{0xfffffff8, Kind::CallWithArray, 0}}, 2 * MaxSize},
        {{{0, Kind::LongCall, 0}}, 8},
        {{{MaxPiece, Kind::LongCall, 0}}, 8},  // too short to be long
        {{{MaxArray + 1, Kind::LongCall, 0}}, 8},
        {{{0xffffffff, Kind::LongCall, 0}}, 8},
        {{{8, Kind::Piece, 0}}, 16},  // of no message
        {{{0, Kind::Piece, 0}}, 8},
        {{{MaxPiece + 1, Kind::LongCall, 0}, {0, Kind::Piece, 0}}, 16},
        {{{MaxPiece + 1, Kind::LongCall, 0}, {8, Kind::CallWithArray, 0}}, 24},
        {{{MaxPiece + 1, Kind::LongCall, 0}, {0, Kind::Call, 0}}, 16},
        {{{MaxPiece + 1, Kind::LongCall, 0}, {MaxPiece + 2, Kind::LongCall, 0}}, 16},
        {{{MaxPiece + 1, Kind::LongCall, 0}, {MaxPiece, Kind::Piece, 0}, {2, Kind::Piece, 0}}, MaxSize + 24},
    };
    for (const Case& wrong : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &wrong - cases);
        Victim victim;
        victim.put(wrong.records);
        victim.expectBreak(wrong.tail);
    }
}

TEST(RingNonsenseTest, ARecordBeyondTheEndBreaksTheReader) {
    for (const std::uint32_t tail : {0U, 64U, LastRecord}) {
        SCOPED_TRACE(tail);
        Victim victim;
        const std::uint32_t at = victim.goToTheEnd();
        victim.put(at, {LastRecord - at + 1, Kind::CallWithArray, 0});
        victim.expectBreak(tail);
    }
    // The last place is for the record that leads to the beginning, and for no other one.
    Victim victim;
    const std::uint32_t at = victim.goToTheEnd();
    victim.put(at, {LastRecord - at - recordSize(0), Kind::CallWithArray, 0});
    EXPECT_EQ(victim.read(LastRecord), RingReader::Result::Read);
    victim.put(LastRecord, {0, Kind::Call, 0});
    victim.expectBreak(0);
    victim.put(LastRecord, {0, Kind::Wrap, 0});
    EXPECT_EQ(victim.read(0), RingReader::Result::Read);
}

TEST(RingNonsenseTest, AnImpossibleHeadBreaksTheWriter) {
    // It may not go back, lie between records' beginnings, or be where nothing was written.
    constexpr RingPosition Wrong[] = {{0, 0},          {4992, 0}, {5044, 0}, {64U << 10, 0}, {RingMemory::Capacity, 0},
                                      {0xfffffff8, 0}, {5040, 1}, {5040, 7}};
    for (const RingPosition head : Wrong) {
        SCOPED_TRACE(testing::Message() << head.offset << " of " << head.generation);
        Victim victim;
        EXPECT_EQ(victim.write({5040, 0}, 20), RingWriter::Result::Done);
        EXPECT_EQ(victim.write(head, 40), RingWriter::Result::Broken);
        EXPECT_EQ(victim.write({5040, 0}, 1), RingWriter::Result::Broken) << "it trusts a liar again";
    }
}

TEST(RingNonsenseTest, HalfACallIsNotDelivered) {
    Victim victim;
    victim.put({{2 * MaxPiece, Kind::LongCall, 1}, {MaxPiece, Kind::Piece, 0}});
    EXPECT_EQ(victim.read(recordSize(0) + MaxSize), RingReader::Result::Read);
    EXPECT_EQ(victim.read(recordSize(0) + MaxSize), RingReader::Result::Empty);
    EXPECT_TRUE(victim.reader.inTheMiddle());
    EXPECT_EQ(victim.delivered, 0);
}

TEST(RingNonsenseTest, ASinkThatWantsNoMoreGetsNoMore) {
    Victim victim;
    victim.stopAt = 2;
    victim.put({{0, Kind::Call, 1}, {8, Kind::CallWithArray, 2}, {0, Kind::Call, 3}});
    EXPECT_EQ(victim.read(32), RingReader::Result::Stopped);
    EXPECT_EQ(victim.delivered, 2);
}

FileDescriptor memory(off_t size, int seals, unsigned flags = 0) {
    FileDescriptor file(::memfd_create("test", MFD_ALLOW_SEALING | flags));
    EXPECT_EQ(::ftruncate(file.get(), size), 0);
    EXPECT_EQ(::fcntl(file.get(), F_ADD_SEALS, seals), 0);
    return file;
}

constexpr int Seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

TEST(RingMemoryTest, OnlyASealedRingIsAdopted) {
    const FileDescriptor right = memory(FileSize, Seals);
    EXPECT_EQ(RingMemory().adopt(right), nullptr);
    const FileDescriptor wrong[] = {
        FileDescriptor(),
        FileDescriptor(::open("/dev/zero", O_RDWR)),
        FileDescriptor(::open("/proc/self/exe", O_RDONLY)),
        FileDescriptor(::eventfd(0, 0)),
        memory(FileSize, 0),
        memory(FileSize, F_SEAL_GROW | F_SEAL_SEAL),    // it could shrink
        memory(FileSize, F_SEAL_SHRINK | F_SEAL_GROW),  // seals could be added
        memory(FileSize, Seals | F_SEAL_WRITE),
        memory(FileSize - 4096, Seals),
        memory(FileSize + 4096, Seals),
        memory(0, Seals),
        FileDescriptor(::open(("/proc/self/fd/" + std::to_string(right.get())).c_str(), O_RDONLY)),
    };
    for (const FileDescriptor& file : wrong) EXPECT_NE(RingMemory().adopt(file), nullptr) << &file - wrong;
}

TEST(RingMemoryTest, ItCannotBecomeAProgram) {
    constexpr unsigned NoExecSeal = 8;  // MFD_NOEXEC_SEAL
    constexpr int SealExec = 0x20;      // F_SEAL_EXEC
    if (!FileDescriptor(::memfd_create("test", NoExecSeal))) GTEST_SKIP() << "this kernel does not know how";
    const TestRing ring;
    EXPECT_EQ(::fcntl(ring.file.get(), F_GET_SEALS), Seals | SealExec);
    EXPECT_EQ(RingMemory().adopt(memory(FileSize, Seals, NoExecSeal)), nullptr);
    for (const int seal : {F_SEAL_SHRINK, F_SEAL_GROW, F_SEAL_SEAL})
        EXPECT_NE(RingMemory().adopt(memory(FileSize, Seals & ~seal, NoExecSeal)), nullptr) << seal;
}

TEST(DoorbellTest, OnlyADoorbellIsAdopted) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    EXPECT_EQ(Doorbell().adopt(FileDescriptor(::eventfd(0, 0))), nullptr);
    EXPECT_NE(Doorbell().adopt(FileDescriptor()), nullptr);
    EXPECT_NE(Doorbell().adopt(FileDescriptor(pipe[0])), nullptr);
    EXPECT_NE(Doorbell().adopt(FileDescriptor(pipe[1])), nullptr);
    EXPECT_NE(Doorbell().adopt(FileDescriptor(::open("/dev/null", O_RDWR))), nullptr);
    EXPECT_NE(Doorbell().adopt(memory(4096, 0)), nullptr);
}

}  // namespace
}  // namespace comm::transport
