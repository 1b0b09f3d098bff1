#include <gtest/gtest.h>

#include <iostream>

#include "Model.h"

namespace model {
namespace {

using Order = std::memory_order;

constexpr std::uint64_t Schedules = 200000;

// What the schedules that are tried must exceed those that a finding takes by.
constexpr std::uint64_t Margin = 50;

struct Mutation {
    const char* name;
    Finding finding;
    void (*mutate)(Variant& variant);
};

constexpr Mutation Mutations[] = {
    {"no second look at the tail", Finding::Asleep, [](Variant& v) { v.readerLooksAgain = false; }},
    {"raiseSleep as release", Finding::Asleep, [](Variant& v) { v.orders.raiseSleep = Order::release; }},
    {"lookAgainAtTail as acquire", Finding::Asleep, [](Variant& v) { v.orders.lookAgainAtTail = Order::acquire; }},
    {"publishTail as release", Finding::Asleep, [](Variant& v) { v.orders.publishTail = Order::release; }},
    {"lookForSleeper as acquire", Finding::Asleep, [](Variant& v) { v.orders.lookForSleeper = Order::acquire; }},

    {"no second look at the head", Finding::Asleep, [](Variant& v) { v.writerLooksAgain = false; }},
    {"askForRoom as release", Finding::Asleep, [](Variant& v) { v.orders.askForRoom = Order::release; }},
    {"lookAtHead as acquire", Finding::Asleep, [](Variant& v) { v.orders.lookAtHead = Order::acquire; }},
    {"publishHead as release", Finding::Asleep, [](Variant& v) { v.orders.publishHead = Order::release; }},
    {"lookForWaiter as acquire", Finding::Asleep, [](Variant& v) { v.orders.lookForWaiter = Order::acquire; }},

    {"publishTail as relaxed", Finding::Race, [](Variant& v) { v.orders.publishTail = Order::relaxed; }},
    {"lookAtTail as relaxed", Finding::Race, [](Variant& v) { v.orders.lookAtTail = Order::relaxed; }},
    {"freeRecord as relaxed", Finding::Race, [](Variant& v) { v.orders.freeRecord = Order::relaxed; }},
    {"lookAtHead as relaxed", Finding::Race, [](Variant& v) { v.orders.lookAtHead = Order::relaxed; }},
    {"the tail before the record", Finding::Race, [](Variant& v) { v.recordComesFirst = false; }},
    {"begun anew over records", Finding::Race, [](Variant& v) { v.anewOnlyIfEmpty = false; }},
    {"records discarded", Finding::Race, [](Variant& v) { v.discardsOnlyIfEmpty = false; }},

    {"a full ring as an empty one", Finding::Wrong, [](Variant& v) { v.fullIsNotEmpty = false; }},
    {"no generations", Finding::Wrong, [](Variant& v) { v.countsGenerations = false; }},
    {"no patience with an old head", Finding::Wrong, [](Variant& v) { v.toleratesOldHead = false; }},
    {"no mark at the end", Finding::Wrong, [](Variant& v) { v.marksTheEnd = false; }},
};

TEST(RingModelTest, NoScheduleBreaksTheProtocol) {
    const Outcome outcome = explore(Variant(), Schedules, std::cout);
    EXPECT_EQ(outcome.finding, Finding::None) << "in a ring of " << outcome.places;
}

TEST(RingModelTest, EachMutationIsFoundLongBeforeTheLastSchedule) {
    std::ostream nowhere(nullptr);
    for (const Mutation& mutation : Mutations) {
        SCOPED_TRACE(mutation.name);
        Variant variant;
        mutation.mutate(variant);
        const Outcome outcome = explore(variant, Schedules, nowhere);
        EXPECT_EQ(outcome.finding, mutation.finding);
        EXPECT_LE(outcome.schedules * Margin, Schedules);
        std::cout << mutation.name << ": " << outcome.finding << ", schedule " << outcome.schedules << " of a ring of "
                  << outcome.places << '\n';
    }
}

}  // namespace
}  // namespace model
