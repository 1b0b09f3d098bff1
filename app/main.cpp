#include "CommandLineOptions.h"
#include "ZidService.h"
#include "ZidShell.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"
#include "ipl/StdoutDumpErrorStorage.h"
#include "ipl/iostream.h"
#include "osal/common/osal.h"
#include "util/CommandShell.h"
#include "util/util.h"

using ipl::cout;
using ipl::endl;

namespace {

constexpr int Success = 0;
constexpr int Failure = -1;
constexpr long long AgentStartTime = 3000;  // ms

int runShell(const ipl::string& mountpoint) {
    cout << "starting shell, type \"list_services --full\" for command api" << endl;
    util::CommandShell shell;
    ZidShell service;
    service.setMountpoint(mountpoint);
    (void)shell.registerService(&service, "ZIDShell", "ZID Transport Stresstest Shell", true);
    shell.startParser();
    return Success;
}

int runService(int instance) {
    cout << "directly starting zid service with instance" << instance << endl;
    ZidService service(static_cast<std::uint16_t>(instance & 0xffff));
    service.waitForever();
    return Success;
}

int runWithAgent(CommandLineOptions& options) {
    comm::AgentStarter starter(options.procname(), "local");
    comm::AgentStartStatus status;
    starter.start(&status, true);
    if (status.waitUntilStarted(AgentStartTime) != comm::AgentStartStatus::Started) {
        cout << "could not start COMM Agent: ";
        status.print(cout);
        cout << endl;
        return Failure;
    }
    return options.instance() < 1 ? runShell(options.mountpoint()) : runService(options.instance());
}

}  // namespace

int main(int argc, char** argv) {
    const ipl::StdoutDumpErrorStorage errors;
    CommandLineOptions options(argc, argv);
    const osal::Osal osal(true, false);
    const util::Util util(options.procname(), true, true, true, true);
    if (ipl::ErrorStorage::isError(true)) {
        cout << ipl::ErrorStorage::reasonText() << endl;
        options.printUsage();
        ipl::ErrorStorage::ack();
        return Failure;
    }
    return runWithAgent(options);
}
