#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Program.h"

/// A running transport server: it is ready when the object is there, and ends in good order with it.
class TransportServer {
  public:
    explicit TransportServer(std::filesystem::path mountPoint, const std::vector<std::string>& options = {});
    ~TransportServer();
    TransportServer(const TransportServer&) = delete;
    TransportServer& operator=(const TransportServer&) = delete;

    pid_t id() const { return m_program.id(); }

    /// Ends it by a signal and checks that it goes in good order.
    void end(int signal);
    /// Leaves its mount behind, and a process that has ended but that nobody has waited for yet.
    void kill();

    /// Why there can be none here; empty if there can.
    static std::string obstacle();
    /// Starts the program with just these arguments and waits for nothing.
    static Program start(const std::vector<std::string>& arguments);
    /// The same, where the system makes just so many threads for it. Not with a sanitizer, which needs all the memory.
    static Program startWithThreads(unsigned count, const std::vector<std::string>& arguments);
    /// The mount points in a directory, of servers that live and of others.
    static std::vector<std::string> mountPointsIn(const std::filesystem::path& directory);
    /// Removes a mount whatever it is.
    static void unmount(const std::string& mountPoint);

  private:
    bool isMounted() const;

    std::filesystem::path m_mountPoint;
    Program m_program;
    bool m_ended = false;
};
