#include "Model.h"

#include "Reader.h"
#include "Writer.h"

namespace model {
namespace {

// Relacy makes it anew for each schedule.
class Simulation : public rl::test_suite<Simulation, 2> {
  public:
    inline static const Variant* variant = nullptr;
    inline static int places = 0;

    void before() { m_ring.open(places); }
    void after() { m_ring.close(); }
    void thread(unsigned index) {
        if (index == 0)
            write();
        else
            Reader(m_ring, *variant).readAll(Records);
    }

  private:
    // Enough to wrap around and to begin anew.
    static constexpr int Records = 6;

    void write() {
        Writer writer(m_ring, *variant);
        for (int record = 0; record < Records; ++record) {
            writer.write(record);
            if (rl::rand(4) == 0) writer.tidy();
        }
    }

    SharedRing m_ring;
};

Finding findingOf(rl::test_result_e result) {
    switch (result) {
        case rl::test_result_success:
            return Finding::None;
        case rl::test_result_deadlock:
            return Finding::Asleep;
        case rl::test_result_data_race:
            return Finding::Race;
        default:
            return Finding::Wrong;
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, Finding finding) {
    constexpr const char* Names[] = {"nothing", "asleep", "race", "wrong"};
    return out << Names[static_cast<int>(finding)];
}

// Relacy remembers three values of an object. In the smallest ring the oldest of them is old enough for any finding
// that takes an old one; only the larger ones can wrap around.
Outcome explore(const Variant& variant, std::uint64_t schedules, std::ostream& history) {
    std::ostream nowhere(nullptr);
    Outcome outcome;
    Simulation::variant = &variant;
    for (const int places : {3, 4, SharedRing::MaxPlaces}) {
        Simulation::places = places;
        rl::test_params params;
        params.iteration_count = schedules;
        params.output_stream = &history;
        params.progress_stream = &nowhere;
        rl::simulate<Simulation>(params);
        outcome = {findingOf(params.test_result), places, params.stop_iteration};
        if (outcome.finding != Finding::None) break;
    }
    return outcome;
}

}  // namespace model
