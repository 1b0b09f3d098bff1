#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Dice.h"
#include "FileDescriptor.h"
#include "Identity.h"
#include "RingReader.h"
#include "RuntimeDirectory.h"

/// A process that looks like a registration to a client and is none.
class HostileReader : private comm::transport::RingReader::Sink {
  public:
    HostileReader(std::uint32_t instance, unsigned seed);

    static std::vector<std::string> behaviours();

    /// Prints "ok" when it can be found, deceives one client, and takes its name away. True on failure.
    bool run(const std::string& behaviour);

  private:
    bool listen();
    bool welcome();
    void deceive(const std::string& behaviour);
    bool received(const comm::Message& /*message*/) override { return false; }

    Dice m_dice;
    const comm::transport::Identity m_identity;
    comm::transport::RuntimeDirectory m_directory;
    comm::transport::FileDescriptor m_listening;
    comm::transport::FileDescriptor m_socket;
    comm::transport::FileDescriptor m_bell;
    comm::transport::RingMemory m_memory;
    std::optional<comm::transport::RingReader> m_reader;
};
