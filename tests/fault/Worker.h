#pragma once

#include <map>
#include <memory>
#include <sstream>

#include "Receiver.h"
#include "Sender.h"
#include "comm/ServiceRegistration.h"

/// The process that takes part: one registration, and connections to others. It obeys the lines on its standard input
/// and answers each by one line: "ok ...", or "up INSTANCE CONNECTION", or "fault TEXT".
class Worker {
  public:
    /// `id` is above 0 and no other's in a run. The instance number of `privateInstance(id)` is the worker's alone.
    Worker(std::uint32_t id, std::uint32_t instance);

    static constexpr std::uint32_t privateInstance(std::uint32_t id) { return 1000 + id; }

    /// The exit status.
    int run();

  private:
    using Senders = std::map<std::uint32_t, std::unique_ptr<Sender>>;

    bool begin();
    bool enlist(std::uint32_t instance);
    std::string obey(std::istringstream& words);
    std::string connect(std::istringstream& words);
    std::string disconnect(std::istringstream& words);
    std::string send(std::istringstream& words);
    std::string rally(std::istringstream& words);
    std::string settle(std::istringstream& words);
    std::string await(std::istringstream& words);
    std::string peak(std::istringstream& words);
    std::string limit(std::istringstream& words);
    std::string replace(std::istringstream& words);
    std::string forget(std::istringstream& words);
    std::string idle(std::istringstream& words);
    std::string rest(std::istringstream& words);
    bool roundTrip(Sender& sender, std::uint32_t expected);
    void answer(const StreamHeader& question);
    std::string fault(const std::string& text) const;

    const std::uint32_t m_id;
    const std::uint32_t m_instance;
    std::atomic<std::uint32_t> m_connections{0};
    std::uint32_t m_token = 0;
    std::size_t m_idleDescriptors = 0;
    Senders m_senders;
    std::mutex m_repliesMutex;
    Senders m_replies;
    Receiver* m_receiver = nullptr;
    comm::ServiceRegistration m_registration;  // of the receiver
};
