#pragma once

#include <tclap/CmdLine.h>

#include "ipl/string.h"

/// The program's command line. Reading it prints nothing, except for what `--help` and `--version` ask for.
class CommandLineOptions {
  public:
    /// Parses the arguments. A mistake in them is recorded in the error storage, and what stands behind it is not
    /// looked at; options that were not reached keep their defaults. With `--help` or `--version` the process ends here
    /// with status 0.
    CommandLineOptions(int argc, const char* const* argv);

    /// Below 1: the interactive shell. Otherwise its low 16 bits are the instance to serve.
    int instance() { return m_instanceArg.getValue(); }
    /// Configures the agent.
    ipl::string procname() { return m_procnameArg.getValue(); }
    /// Where the transport server is mounted.
    ipl::string mountpoint() { return m_mountpointArg.getValue(); }

    /// Prints the full usage text to standard output.
    void printUsage() { m_cmdLine.getOutput()->usage(m_cmdLine); }

  private:
    void parse(int argc, const char* const* argv);

    TCLAP::CmdLine m_cmdLine;
    TCLAP::ValueArg<int> m_instanceArg;
    TCLAP::ValueArg<ipl::string> m_procnameArg;
    TCLAP::ValueArg<ipl::string> m_mountpointArg;
};
