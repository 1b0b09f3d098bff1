#pragma once

#include "Dice.h"
#include "Team.h"

/// What the driver does to its workers, one step at a time, by chance.
class Steps {
  public:
    Steps(Team& team, Journal& journal, Dice& dice) : m_team(team), m_journal(journal), m_dice(dice) {}

    /// Does one, and checks that all is as it must be then.
    void next();

    /// Everybody goes on, gives up its connections, and must then hold nothing any more.
    void calm();

  private:
    struct Kind {
        const char* name;
        unsigned weight;
        void (Steps::*run)();
    };
    static const std::vector<Kind> Kinds;

    void startService();
    void startClient();
    void connect();
    void disconnect();
    void burst();
    void rally();
    void stop();
    void resume();
    void killService();
    void killClient();
    void endService();
    void endClient();
    void fill();
    void attack();
    void trap();
    void fewDescriptors();
    void littleMemory();
    void clean();
    void succeed();
    void race();

    Member* any(Member::Role role);
    std::uint32_t anyInstance();
    void send(Member& member, std::uint32_t instance);
    void sendEverywhere();
    void loseService(void (Team::*lose)(Member&));
    void pause();
    std::unique_ptr<ChildProcess> attack(const Member& target, const std::string& attack, unsigned count);
    Member* connectTo(std::uint32_t instance);
    void starve(Member& member, const std::string& what, unsigned more, unsigned crowd);
    void removeNames();

    Team& m_team;
    Journal& m_journal;
    Dice& m_dice;
};
