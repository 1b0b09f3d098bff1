#pragma once

#include <string>
#include <vector>

namespace bench {

/// One of the programs that are compared.
struct Program {
    enum class Kind { Zidbench, ZidbenchDds, PlainExchange, PlainRing, Library };

    Kind kind;
    std::string name;       ///< in the table
    std::string transport;  ///< of a peer: what the program that runs it calls it

    bool isPeer() const { return kind == Kind::PlainRing || kind == Kind::Library; }
};

/// In the order in which they take turns: zidbench first.
inline std::vector<Program> programs(bool withPeers, bool withDds) {
    using Kind = Program::Kind;
    std::vector<Program> all{{Kind::Zidbench, "zidbench", {}}, {Kind::PlainExchange, "plain exchange", {}}};
    if (withDds) all.push_back({Kind::ZidbenchDds, "zidbench, DDS", {}});
    if (!withPeers) return all;
    all.push_back({Kind::PlainRing, "plain ring", "shm"});
    for (const char* library : {"zmq", "nng", "iox", "dds", "dbus"}) all.push_back({Kind::Library, library, library});
    return all;
}

}  // namespace bench
