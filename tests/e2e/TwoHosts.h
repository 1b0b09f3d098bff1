#pragma once

#include <sys/types.h>

#include <array>
#include <string>
#include <vector>

/// Two hosts with a wire between them, made of network namespaces. All of it is gone when this object, or the test's
/// process, is.
class TwoHosts {
  public:
    enum Host { East, West };

    TwoHosts();
    TwoHosts(const TwoHosts&) = delete;
    TwoHosts& operator=(const TwoHosts&) = delete;
    ~TwoHosts();

    /// Why there are no hosts here; empty where there are.
    const std::string& obstacle() const { return m_obstacle; }

    static const char* address(Host host) { return host == East ? "10.99.0.1" : "10.99.0.2"; }

    /// What starts a program on a host, as the arguments of `Runner`.
    static constexpr const char* Runner = "/usr/bin/nsenter";
    std::vector<std::string> on(Host host, const std::string& runtimeDirectory, const std::string& program,
                                const std::vector<std::string>& arguments) const;

    /// Takes the wire away, without a word to anybody, and puts it back.
    void cut() const;
    void mend() const;
    void takeMulticast() const;
    /// Makes both directions of the wire worse, in the words of tc's netem. False where the system cannot.
    bool spoil(const std::string& how) const;

  private:
    void keep(Host host);
    void connect();
    static bool run(const std::string& command);
    bool runOn(Host host, const std::string& command) const;

    std::array<pid_t, 2> m_keepers{-1, -1};  // a process that keeps the host's namespace
    std::string m_obstacle;
};
