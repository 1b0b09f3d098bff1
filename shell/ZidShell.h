#pragma once

#include <array>
#include <atomic>

#include "ZidClient.h"
#include "ZidService.h"
#include "ipl/string.h"
#include "ipl/vector.h"
#include "osal/common/StopWatch.h"
#include "util/CommandParameterInteger.h"
#include "util/CommandShellService.h"

/// The shell service of the bench: it registers the bench's commands and carries them out.
///
/// The command shell delivers commands of one id one at a time and those of different ids perhaps at once. What the
/// handlers of several commands share is atomic; everything else belongs to one command.
class ZidShell final : public util::CommandShellService {
  public:
    ZidShell();

    /// Where the transport server is mounted. Set it before the service is registered.
    void setMountpoint(const ipl::string& mountpoint) { m_mountpoint = mountpoint; }

    void onShellEvent(int event, unsigned short commandId) override;

  private:
    static constexpr std::size_t Slots = 100;  // indexed by instance, 1 to 99

    void registerCommands();
    void unregisterCommands();
    void addCommand(const char* name, const char* description, unsigned short& id,
                    const ipl::vector<util::CommandParameter*>& parameters);
    void runCommand(unsigned short commandId);
    void print(const ipl::string& text);
    static void refuseStart(int instance);

    void handleStartService();
    void handleStartZid();
    void handleStopZid();
    void handleSetTimeout();
    void handleSendFile();
    void handleReceiveFile();

    unsigned short m_startServiceId = 0;
    util::CommandParameterInteger m_startServiceInstance;
    unsigned short m_startZidId = 0;
    util::CommandParameterInteger m_startZidInstance;
    util::CommandParameterInteger m_startZidPayload;
    util::CommandParameterInteger m_startZidDelay;
    util::CommandParameterInteger m_startZidBurstcount;
    unsigned short m_stopZidId = 0;
    util::CommandParameterInteger m_stopZidInstance;
    unsigned short m_setTimeoutId = 0;
    util::CommandParameterInteger m_timeout;  // also read by startZID
    unsigned short m_sendFileId = 0;
    util::CommandParameterInteger m_sendFilePayload;
    util::CommandParameterInteger m_sendFileDelay;
    util::CommandParameterInteger m_sendFileCnt;
    unsigned short m_receiveFileId = 0;
    util::CommandParameterInteger m_receiveFilePayload;
    util::CommandParameterInteger m_receiveFileCnt;

    // The services live until the process ends. startService alone uses their table.
    std::array<ZidService*, Slots> m_services{};
    // startZID fills a slot once its client has started, and stopZID empties it once its client is gone, so between the
    // two the client is stopZID's.
    std::array<std::atomic<ZidClient*>, Slots> m_clients{};

    osal::RealtimeStopWatch m_stopWatch;
    ipl::string m_mountpoint;
    std::atomic<bool> m_transferRunning{false};
};
