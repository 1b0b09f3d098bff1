#include "shell/ParameterValues.h"

#include "shell/NearestName.h"

namespace util::shell {
namespace {

bool isName(const ipl::string& word) {
    return word.size() > 2 && word.compare(0, 2, "--") == 0;
}

}  // namespace

ParameterValues::ParameterValues(const Command& command, const ipl::vector<ipl::string>& words)
    : m_command(command), m_values(command.parameters.size()) {
    for (std::size_t i = 1; i < words.size() && m_refusal.empty(); ++i) {
        const bool last = i + 1 == words.size();
        m_nextTaken = false;
        if (isName(words[i]))
            takeNamed(words[i].substr(2), last ? nullptr : &words[i + 1]);
        else
            takePositional(words[i]);
        if (m_nextTaken) ++i;
    }
}

ipl::vector<ipl::string> ParameterValues::complete() const {
    ipl::vector<ipl::string> values;
    for (std::size_t i = 0; i < m_values.size(); ++i)
        values.push_back(m_values[i].value_or(m_command.parameters[i]->defaultText()));
    return values;
}

void ParameterValues::takeNamed(const ipl::string& word, const ipl::string* next) {
    const std::size_t equals = word.find('=');
    const ipl::string name = word.substr(0, equals);
    const std::size_t index = indexOf(name);
    if (index == m_values.size()) return refuseUnknown(name);
    const CommandParameter& parameter = *m_command.parameters[index];
    if (equals != ipl::string::npos) return set(index, word.substr(equals + 1));
    if (!parameter.impliedText().empty()) return set(index, parameter.impliedText());
    if (next == nullptr || isName(*next)) {
        m_refusal = "a value is missing after --" + name + ": " + parameter.range();
        return;
    }
    m_nextTaken = true;
    set(index, *next);
}

void ParameterValues::takePositional(const ipl::string& word) {
    for (std::size_t i = 0; i < m_values.size(); ++i)
        if (!m_values[i] && m_command.parameters[i]->impliedText().empty()) return set(i, word);
    refuseSurplus(word);
}

void ParameterValues::set(std::size_t index, const ipl::string& value) {
    const CommandParameter& parameter = *m_command.parameters[index];
    if (m_values[index])
        m_refusal = parameter.name() + " is given twice: as " + *m_values[index] + " and as " + value;
    else if (parameter.accepts(value, m_refusal))
        m_values[index] = value;
}

void ParameterValues::refuseUnknown(const ipl::string& name) {
    ipl::vector<ipl::string> names;
    ipl::string all;
    for (const CommandParameter* parameter : m_command.parameters) {
        names.push_back(parameter->name());
        all += (all.empty() ? "--" : ", --") + parameter->name();
    }
    const ipl::string nearest = nearestName(name, names);
    m_refusal = m_command.name + " has no parameter '" + name + "'";
    if (!nearest.empty())
        m_refusal += ": did you mean --" + nearest + "?";
    else
        m_refusal += all.empty() ? "; it takes none" : "; it takes " + all;
}

void ParameterValues::refuseSurplus(const ipl::string& word) {
    ipl::string all;
    for (const CommandParameter* parameter : m_command.parameters)
        all +=
            ipl::string(all.empty() ? "" : ", ") + (parameter->impliedText().empty() ? "" : "--") + parameter->name();
    m_refusal = "'" + word + "' is too much: " + m_command.name + " takes " + (all.empty() ? "no parameters" : all);
}

std::size_t ParameterValues::indexOf(const ipl::string& name) const {
    std::size_t index = 0;
    while (index < m_values.size() && m_command.parameters[index]->name() != name) ++index;
    return index;
}

}  // namespace util::shell
