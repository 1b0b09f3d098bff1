#pragma once

#include "Dice.h"
#include "comm/LifecycleListener.h"

/// A process whose threads connect, wait, register, disconnect, and end its agent, all at once and again and again.
class Racer : private comm::LifecycleListener {
  public:
    /// Connects to that instance, which may be there or not.
    Racer(std::uint32_t instance, unsigned seed) : m_dice(seed), m_instance(instance) {}

    /// True if something does not end as it must. What does not end at all hangs.
    bool run();

  private:
    bool round();
    void lifecycleChanged(bool alive) override;

    Dice m_dice;
    const std::uint32_t m_instance;
};
