// The commands of the file test.

#include "FileReceiver.h"
#include "FileSender.h"
#include "ZidShell.h"

namespace {

std::uint32_t valueOf(const util::CommandParameterInteger& parameter) {
    return static_cast<std::uint32_t>(static_cast<int>(parameter));
}

}  // namespace

void ZidShell::handleSendFile() {
    FileSender sender({.path = m_mountpoint + "/connect/zidfile",
                       .payload = valueOf(m_sendFilePayload),
                       .delay = valueOf(m_sendFileDelay),
                       .count = valueOf(m_sendFileCnt)},
                      m_transferRunning, [this](const ipl::string& text) { print(text); });
    sender.run();
}

void ZidShell::handleReceiveFile() {
    FileReceiver receiver(
        {.path = m_mountpoint + "/spawn/zidfile",
         .payload = valueOf(m_receiveFilePayload),
         .delay = 0,
         .count = valueOf(m_receiveFileCnt)},
        m_transferRunning, [this](const ipl::string& text) { print(text); }, m_stopWatch);
    receiver.run();
}
