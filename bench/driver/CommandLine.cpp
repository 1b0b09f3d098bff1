#include "CommandLine.h"

#include <algorithm>
#include <cstdio>

namespace bench {
namespace {

int refuse(const std::string& word, const char* relation, const std::string& wanted, const std::string& usage) {
    std::fprintf(stderr, "%s %s %s\n%s", word.c_str(), relation, wanted.c_str(), usage.c_str());
    return 2;
}

}  // namespace

Option flagOption(const std::string& name, bool& given) {
    return {name, {}, [&given](const std::string&) {
                given = true;
                return false;
            }};
}

Option textOption(const std::string& name, std::string& text) {
    return {name, "a text", [&text](const std::string& word) {
                text = word;
                return word.empty();
            }};
}

std::optional<int> parseCommandLine(const std::vector<std::string>& arguments, const std::vector<Option>& options,
                                    const std::string& usage) {
    const auto find = [&options](const std::string& name) {
        return std::find_if(options.begin(), options.end(), [&](const Option& option) { return option.name == name; });
    };
    const auto other = find("");
    for (auto word = arguments.begin(); word != arguments.end(); ++word) {
        if (*word == "--help") {
            std::fputs(usage.c_str(), stdout);
            return 0;
        }
        const auto option = find(*word);
        if (option == options.end() || option == other) {
            if (other->set(*word)) return refuse(*word, "is neither an option nor", other->wanted, usage);
        } else if (option->wanted.empty()) {
            option->set({});
        } else if (word + 1 == arguments.end() || option->set(*++word)) {
            return refuse(option->name, "must be followed by", option->wanted, usage);
        }
    }
    return std::nullopt;
}

}  // namespace bench
