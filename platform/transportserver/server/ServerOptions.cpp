#include "ServerOptions.h"

#include <tclap/CmdLine.h>

#include <algorithm>
#include <iostream>
#include <vector>

namespace transport {
namespace {

// A number's option, with the range that it must keep to.
class RangeArg : public TCLAP::ValueArg<long> {
  public:
    RangeArg(const char* name, const std::string& description, long least, long most, long fallback, const char* unit,
             TCLAP::CmdLine& line)
        : ValueArg("", name,
                   description + ", " + std::to_string(least) + " to " + std::to_string(most) + "; by default " +
                       std::to_string(fallback),
                   false, fallback, unit, line),
          m_least(least),
          m_most(most) {}

    void check() const {
        if (getValue() < m_least || getValue() > m_most)
            throw TCLAP::ArgException("the value must be " + std::to_string(m_least) + " to " + std::to_string(m_most),
                                      "--" + getName());
    }

  private:
    long m_least;
    long m_most;
};

// The option or word that an error is about, without the word that the parser puts before it.
std::string subjectOf(const TCLAP::ArgException& error) {
    const std::string prefix = "Argument: ";
    const std::string id = error.argId();
    return id.starts_with(prefix) ? id.substr(prefix.size()) : id;
}

ServerOptions parseLine(std::vector<std::string>& words) {
    const ServerOptions defaults;
    TCLAP::CmdLine line("Serves connect/NAME and spawn/NAME as the two ends of a channel, at a mount point", ' ',
                        "0.1");
    RangeArg idleTime("idle-timeout", "How long a read or write waits at most, in milliseconds", 1, 3600000,
                      defaults.idleTime.count(), "MS", line);
    RangeArg capacity("capacity", "How many bytes wait in a channel at most", 1, 1L << 30,
                      static_cast<long>(defaults.capacity), "BYTES", line);
    TCLAP::UnlabeledValueArg<std::string> mountPoint(
        "mountpoint", "The directory to serve at, made if need be; by default " + defaults.mountPoint, false,
        defaults.mountPoint, "MOUNTPOINT", line);
    line.setExceptionHandling(false);
    // The parser takes an empty word for a value that was not given.
    if (std::find(words.begin(), words.end(), "") != words.end()) throw TCLAP::ArgException("no value", "''");
    line.parse(words);
    // The parser takes an unknown option for the word without one.
    if (mountPoint.getValue().starts_with('-')) throw TCLAP::ArgException("no such option", mountPoint.getValue());
    capacity.check();
    idleTime.check();
    return {mountPoint.getValue(), static_cast<std::size_t>(capacity.getValue()),
            std::chrono::milliseconds(idleTime.getValue())};
}

}  // namespace

// The parser tells everything by exceptions; none of them leaves this function.
std::optional<ServerOptions> ServerOptions::parse(int argc, const char* const* argv, int& exitStatus) {
    std::vector<std::string> words(argv, argv + argc);
    try {
        return parseLine(words);
    } catch (const TCLAP::ExitException& exit) {
        exitStatus = exit.getExitStatus();
    } catch (const TCLAP::ArgException& error) {
        std::cerr << "transportserver: " << subjectOf(error) << ": " << error.error()
                  << ": see transportserver --help for the options" << std::endl;
        exitStatus = 1;
    }
    return std::nullopt;
}

}  // namespace transport
