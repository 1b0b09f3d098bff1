#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

namespace transport {

enum class End { Connect, Spawn };

/// The files that the kernel knows, by the numbers that it knows them by. Safe for several threads at once.
///
/// Each lookup makes a file of its own, so that those who have one channel open do not wait for each other in the
/// kernel, which lets only one of them at a time write to a file.
class NodeTable {
  public:
    struct Node {
        End end;
        std::string name;  ///< of the channel
    };

    /// The directories' numbers, and what the files' begin with.
    static constexpr std::uint64_t Root = 1;
    static constexpr std::uint64_t Connect = 2;
    static constexpr std::uint64_t Spawn = 3;
    static constexpr std::uint64_t FirstFile = 4;

    static bool isDirectory(std::uint64_t number) { return number < FirstFile; }

    std::uint64_t add(End end, const std::string& name);
    /// The node of a number that add() has given and that was not removed.
    Node find(std::uint64_t number) const;
    /// Does nothing to a directory.
    void remove(std::uint64_t number);

  private:
    mutable std::mutex m_mutex;  // guards all below
    std::uint64_t m_next = FirstFile;
    std::unordered_map<std::uint64_t, Node> m_nodes;
};

}  // namespace transport
