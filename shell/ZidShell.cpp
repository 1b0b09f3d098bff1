#include "ZidShell.h"

#include "util/CommandShell.h"

namespace {

constexpr const char* InstanceText = "comm instance id";
constexpr const char* FilePayloadText = "data payload in bytes for file transfer";
constexpr const char* FileTransferText = "transfer data via a bare metal file based transfer using transportserver";
constexpr int MiB = 1048576;
constexpr auto Decimal = util::CommandParameterInteger::Decimal;

}  // namespace

ZidShell::ZidShell() : m_stopWatch(false) {}

void ZidShell::onShellEvent(int event, unsigned short commandId) {
    switch (event) {
        case Started:
            registerCommands();
            print("ZIDShell started");
            break;
        case Ended:
            unregisterCommands();
            print("ZIDShell exited");
            break;
        case Command:
            runCommand(commandId);
            break;
        default:
            break;
    }
}

void ZidShell::registerCommands() {
    m_startServiceInstance.setProperties("instance", InstanceText, 1, 99, 2, Decimal);
    addCommand("startService", "starting a zid testcase with given communication parameters", m_startServiceId,
               {&m_startServiceInstance});

    m_startZidInstance.setProperties("instance", InstanceText, 1, 99, 2, Decimal);
    m_startZidPayload.setProperties("payload", "pyload in bytes", 0, MiB, 100, Decimal);
    m_startZidDelay.setProperties("delay", "selay between bursts in msec", 0, 1000, 50, Decimal);
    m_startZidBurstcount.setProperties("burstcount", "number of messages sent en block", 1, 99, 1, Decimal);
    addCommand("startZID", "starting a service with given instance for comm communication", m_startZidId,
               {&m_startZidInstance, &m_startZidPayload, &m_startZidDelay, &m_startZidBurstcount});

    m_stopZidInstance.setProperties("instance", InstanceText, 1, 99, 2, Decimal);
    addCommand("stopZID", "stop the running zid", m_stopZidId, {&m_stopZidInstance});

    m_timeout.setProperties("timeout", "max roundtrip time", 1, 10000, 10000, Decimal);
    addCommand("setTimeout", "set the maximal roundtrip timeout", m_setTimeoutId, {&m_timeout});

    m_sendFilePayload.setProperties("payload", FilePayloadText, 1, MiB, 2, Decimal);
    m_sendFileDelay.setProperties("delay", "delay between sending payload data", 0, 1000, 2, Decimal);
    m_sendFileCnt.setProperties("cnt", "number of data chunks to be sent", 0, 9999, 2, Decimal);
    addCommand("sendFile", FileTransferText, m_sendFileId, {&m_sendFilePayload, &m_sendFileDelay, &m_sendFileCnt});

    m_receiveFilePayload.setProperties("payload", FilePayloadText, 1, MiB, 2, Decimal);
    m_receiveFileCnt.setProperties("cnt", "number of data chunks to be read", 0, 9999, 2, Decimal);
    addCommand("receiveFile", FileTransferText, m_receiveFileId, {&m_receiveFilePayload, &m_receiveFileCnt});

    m_services.fill(nullptr);
    for (auto& client : m_clients) client = nullptr;
}

void ZidShell::addCommand(const char* name, const char* description, unsigned short& id,
                          const ipl::vector<util::CommandParameter*>& parameters) {
    (void)m_shell->registerCommand(this, name, description, id, parameters, true);
}

void ZidShell::unregisterCommands() {
    for (const unsigned short id :
         {m_startServiceId, m_startZidId, m_stopZidId, m_setTimeoutId, m_sendFileId, m_receiveFileId})
        (void)m_shell->unregisterCommand(this, id, true);
}

void ZidShell::runCommand(unsigned short commandId) {
    if (commandId == m_startServiceId)
        handleStartService();
    else if (commandId == m_startZidId)
        handleStartZid();
    else if (commandId == m_stopZidId)
        handleStopZid();
    else if (commandId == m_setTimeoutId)
        handleSetTimeout();
    else if (commandId == m_sendFileId)
        handleSendFile();
    else if (commandId == m_receiveFileId)
        handleReceiveFile();
}

void ZidShell::print(const ipl::string& text) {
    m_shell->printMessage(this, text, false, true, 0);
}
