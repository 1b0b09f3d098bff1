#include <gtest/gtest.h>

#include "CommandLineOptions.h"
#include "ipl/ErrorStorage.h"

namespace {

struct Parsed {
    int instance;
    std::string procname;
    std::string mountpoint;
    std::string error;
};

Parsed parse(std::vector<const char*> words) {
    words.insert(words.begin(), "zidbench");
    CommandLineOptions options(static_cast<int>(words.size()), words.data());
    const char* reason = ipl::ErrorStorage::reason();
    Parsed result{options.instance(), options.procname(), options.mountpoint(), reason == nullptr ? "" : reason};
    ipl::ErrorStorage::ack();
    return result;
}

TEST(CommandLineOptions, TakeTheirValuesAndDefaults) {
    const Parsed none = parse({});
    EXPECT_EQ(none.instance, 0);
    EXPECT_EQ(none.procname, "testclient");
    EXPECT_EQ(none.mountpoint, "/dev/transportserver");
    EXPECT_EQ(none.error, "");
    const Parsed longNames = parse({"--service-instance-id", "-5", "--procname", "p", "--mountpoint", "m"});
    EXPECT_EQ(longNames.instance, -5);
    EXPECT_EQ(longNames.procname + longNames.mountpoint + longNames.error, "pm");
}

TEST(CommandLineOptions, TellTheFirstMistake) {
    const std::pair<std::vector<const char*>, const char*> mistakes[] = {
        {{"-x"}, "Couldn't find match for argument -x"},
        {{"extra", "-s", "3"}, "Couldn't find match for argument extra"},
        {{"--foo", "--help"}, "Couldn't find match for argument --foo"},
        {{"-n", "a", "-n", "b"}, "Argument already set: -n (--procname)"},
        {{"-s"}, "Missing a value for this argument: -s (--service-instance-id)"},
        {{"-m"}, "Missing a value for this argument: -m (--mountpoint)"},
        {{"-s", "abc"}, "Couldn't read argument value from string 'abc'"},
        {{"-s", "5abc"}, "Couldn't read argument value from string '5abc'"},
        {{"-s", "99999999999"}, "Couldn't read argument value from string '99999999999'"},
        {{"-s", "5 6"}, "More than one valid value parsed from string '5 6'"},
    };
    for (const auto& [words, text] : mistakes) EXPECT_EQ(parse(words).error, text);
    EXPECT_EQ(parse({"extra", "-s", "3"}).instance, 0) << "what stands behind a mistake is not looked at";
    EXPECT_EQ(parse({"-s", "1", "-s", "2"}).instance, 1);
}

// The last test here: the parser never again heeds anything in a process once it has met the two hyphens.
TEST(CommandLineOptions, IgnoreWhatStandsBehindTwoHyphens) {
    const Parsed ignored = parse({"-s", "3", "-n", "", "--", "-s", "4", "extra"});
    EXPECT_EQ(ignored.instance, 3);
    EXPECT_EQ(ignored.procname + ignored.error, "");
}

}  // namespace
