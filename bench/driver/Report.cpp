#include "Report.h"

#include <array>
#include <limits>
#include <sstream>

#include "Number.h"

namespace bench {
namespace {

constexpr std::string_view Rate = "msgs/second:\t";
constexpr std::string_view Messages = "messages:\t";
constexpr std::string_view Timeout = "timeout for waiting for response received";
constexpr std::uint64_t Any = std::numeric_limits<std::uint64_t>::max();

// The output from the last line on that begins with `label`, without the label; empty when there is no such line.
std::string_view afterLast(std::string_view output, std::string_view label) {
    std::size_t at = output.rfind(label);
    while (at != std::string_view::npos && at != 0 && output[at - 1] != '\n') at = output.rfind(label, at - 1);
    return at == std::string_view::npos ? std::string_view{} : output.substr(at + label.size());
}

std::uint64_t numberOf(std::string_view line) {
    std::uint64_t number = 0;
    return parseNumber(line.substr(0, line.find('\n')), std::uint64_t{0}, Any, number) ? 0 : number;
}

// Of the lines of a report, only the histogram's hold a tab and a blank before a number.
std::uint64_t histogramSum(std::string_view report) {
    constexpr std::string_view column = "\t ";
    std::uint64_t sum = 0;
    for (std::size_t at = report.find(column); at != std::string_view::npos; at = report.find(column, at)) {
        at += column.size();
        sum += numberOf(report.substr(at));
    }
    return sum;
}

}  // namespace

Report readMessageTestReport(std::string_view output, std::uint64_t burst) {
    const std::string_view report = afterLast(output, Rate);
    return {static_cast<double>(numberOf(report)), histogramSum(report) * burst};
}

std::uint64_t countAnswered(std::string_view output, std::uint64_t burst) {
    return histogramSum(output) * burst;
}

bool hasTimedOut(std::string_view output) {
    return output.find(Timeout) != std::string_view::npos;
}

Report readPlainReport(std::string_view output) {
    return {static_cast<double>(numberOf(afterLast(output, Rate))), numberOf(afterLast(output, Messages))};
}

Report readPeerReport(const std::string& output, const std::string& transport, double seconds) {
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        std::string trouble;
        double rate = 0;
        double skipped = 0;
        std::array<double, 3> cpu{};
        if (!(words >> name) || name != transport) continue;
        words >> skipped >> skipped >> rate >> skipped >> skipped >> skipped >> skipped >> cpu[0] >> cpu[1] >> cpu[2];
        if (!words || words >> trouble) continue;
        return {rate, static_cast<std::uint64_t>(rate * seconds), cpu[0] + cpu[1] + cpu[2]};
    }
    return {};
}

}  // namespace bench
