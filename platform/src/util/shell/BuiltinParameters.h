#pragma once

#include "util/CommandParameter.h"

namespace util::shell {

/// A parameter that is given or not, by its name alone. For commands of the shell itself: one thread uses it.
class FlagParameter final : public CommandParameter {
  public:
    FlagParameter(const char* name, const char* description) : m_name(name), m_description(description) {}

    bool isGiven() const { return m_given; }

    const ipl::string& name() const override { return m_name; }
    const ipl::string& description() const override { return m_description; }
    ipl::string range() const override { return "yes or no, default no"; }
    ipl::string defaultText() const override { return "no"; }
    ipl::string impliedText() const override { return "yes"; }
    bool accepts(const ipl::string& text, ipl::string& refusal) const override {
        const bool accepted = text == "yes" || text == "no";
        if (!accepted) refusal = m_name + " takes yes or no, not '" + text + "'";
        return accepted;
    }
    void assign(const ipl::string& text) override { m_given = text == "yes"; }

  private:
    ipl::string m_name;
    ipl::string m_description;
    bool m_given = false;
};

/// A parameter that takes any word. For commands of the shell itself: one thread uses it.
class WordParameter final : public CommandParameter {
  public:
    WordParameter(const char* name, const char* description) : m_name(name), m_description(description) {}

    /// Empty if it is left out.
    const ipl::string& word() const { return m_word; }

    const ipl::string& name() const override { return m_name; }
    const ipl::string& description() const override { return m_description; }
    ipl::string range() const override { return "a word"; }
    ipl::string defaultText() const override { return {}; }
    bool accepts(const ipl::string& /*text*/, ipl::string& /*refusal*/) const override { return true; }
    void assign(const ipl::string& text) override { m_word = text; }

  private:
    ipl::string m_name;
    ipl::string m_description;
    ipl::string m_word;
};

}  // namespace util::shell
