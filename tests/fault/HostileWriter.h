#pragma once

#include <string>
#include <vector>

#include "Dice.h"
#include "Doorbell.h"
#include "FileDescriptor.h"
#include "Identity.h"
#include "Ring.h"
#include "RingMemory.h"

/// A process that connects to a registration and means no good. What it sends of messages has handle size 0, whatever
/// becomes of it, so nobody takes it for somebody else's.
class HostileWriter {
  public:
    HostileWriter(std::uint32_t instance, unsigned seed, unsigned count);

    /// Those for one connection.
    static std::vector<std::string> attacks();

    /// Attacks, and waits for the connection's end if the service must end it. True on failure.
    bool run(const std::string& attack);

  private:
    using Record = comm::transport::RecordHeader;
    struct Attack {
        const char* name;
        bool ends;  ///< the service must end the connection
        void (HostileWriter::*run)();
    };
    static const std::vector<Attack>& table();

    void connect();
    void greet();
    void put(std::uint32_t at, const Record& record);
    void publish(std::uint32_t offset, std::uint32_t generation = 0);
    bool waitForHead(std::uint32_t head) const;
    bool waitForEnd() const;

    void saysNothing() {}
    void halfAGreeting();
    void noise();
    void quietGuest() { greet(); }
    void talksOnSocket();
    void impossibleTail();
    void corruptRecord();
    void overlapsEnd();
    void circles();
    void halfALongCall();
    void goesOnAfterLeaving();
    void alarms();
    void scribbles();
    void crowd();

    Dice m_dice;
    const unsigned m_count;
    const comm::transport::Identity m_identity;
    comm::transport::FileDescriptor m_socket;
    comm::transport::FileDescriptor m_file;
    comm::transport::RingMemory m_memory;
    comm::transport::Doorbell m_bell;
    std::vector<comm::transport::FileDescriptor> m_others;
};
