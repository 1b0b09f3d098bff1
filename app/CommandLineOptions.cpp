#include "CommandLineOptions.h"

#include <cstdlib>

#include "ipl/ErrorOutput.h"
#include "ipl/vector.h"

namespace TCLAP {

// The kinds of error that the parser reports: a value cannot be read, or the words do not fit the options.
enum class Error { Value = 0, CommandLine = 1 };

}  // namespace TCLAP

namespace {

void report(TCLAP::Error code, const ipl::string& text) {
    ipl::ErrorOutput(__FILE__, __LINE__).report("TCLAP::Error", static_cast<int>(code), text);
}

// The option or word that an error is about, without the words that the parser puts before it. It takes the word
// "undefined" for none.
ipl::string subjectOf(const TCLAP::ArgException& error) {
    const ipl::string prefix = "Argument: ";
    const ipl::string id = error.argId();
    return id.rfind(prefix, 0) == 0 ? id.substr(prefix.size()) : "undefined";
}

void reportParseError(const TCLAP::ArgException& error) {
    struct Wording {
        const char* parsers;
        const char* ours;
    };
    static constexpr Wording Wordings[] = {
        {"Couldn't find match for argument", "Couldn't find match for argument "},
        {"Argument already set!", "Argument already set: "},
        {"Missing a value for this argument!", "Missing a value for this argument: "},
    };
    for (const Wording& wording : Wordings)
        if (error.error() == wording.parsers) return report(TCLAP::Error::CommandLine, wording.ours + subjectOf(error));
    report(TCLAP::Error::Value, error.error());
}

}  // namespace

CommandLineOptions::CommandLineOptions(int argc, const char* const* argv)
    : m_cmdLine("ZID testbench for communication stresstesting", ' ', "0.1"),
      m_instanceArg("s", "service-instance-id",
                    "Directly start zid service with given instance, if instance equals 0 (default) interactive mode "
                    "is started",
                    false, 0, "INSTANCE", m_cmdLine),
      m_procnameArg("n", "procname",
                    "Use PROCNAME to configure comm agent - defaults to testclient on QMA, testclientVLT on VLT", false,
                    "testclient", "PROCNAME", m_cmdLine),
      m_mountpointArg("m", "mountpoint",
                      "Use mountpoint for transportserver communication - defaults to /dev/transportserver", false,
                      "/dev/transportserver", "MOUNTPOINT", m_cmdLine) {
    parse(argc, argv);
}

// The parser tells everything by exceptions; none of them leaves this function.
void CommandLineOptions::parse(int argc, const char* const* argv) {
    m_cmdLine.setExceptionHandling(false);
    ipl::vector<ipl::string> words(argv, argv + argc);
    try {
        m_cmdLine.parse(words);
    } catch (const TCLAP::ExitException& exit) {
        std::exit(exit.getExitStatus());
    } catch (const TCLAP::ArgException& error) {
        reportParseError(error);
    }
}
