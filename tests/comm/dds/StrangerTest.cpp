// Somebody in the domain who uses the same names for something else.

#include <dds/dds.h>
#include <gtest/gtest.h>

#include <memory>

#include "RunningAgent.h"
#include "StandardError.h"
#include "Stranger.h"
#include "TestService.h"

namespace {

// A reader where registrations of the identity are looked for, with calls of its own.
class Stranger {
  public:
    Stranger(const TestIdentity& identity, const char* typeName, const std::string& userData)
        : m_participant(::dds_create_participant(RunningAgent::domain(), nullptr, nullptr)) {
        dds_topic_descriptor_t description = stranger_Call_desc;
        description.m_typename = typeName;
        const dds_entity_t topic = ::dds_create_topic(m_participant, &description, "comm_Call", nullptr, nullptr);
        dds_qos_t* const qos = ::dds_create_qos();
        ::dds_qset_partition1(qos, partition(identity.args()).c_str());
        ::dds_qset_userdata(qos, userData.data(), userData.size());
        EXPECT_GT(::dds_create_reader(m_participant, topic, qos, nullptr), 0);
        ::dds_delete_qos(qos);
    }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;
    ~Stranger() { ::dds_delete(m_participant); }

  private:
    static std::string partition(const comm::TrackedBase::IdentityArgs& identity) {
        return identity.instanceKey.uuid.toString() + '.' + std::to_string(identity.instanceKey.instance) + '/' +
               identity.interfaceUuid.toString() + "/stranger.1";
    }

    const dds_entity_t m_participant;
};

struct Kind {
    const char* typeName;
    const char* userData;
    const char* warning;
};

class StrangerTest : public testing::TestWithParam<Kind> {};

TEST_P(StrangerTest, IsToldOfAndNotCalled) {
    RunningAgent agent("ddsclient");
    const StandardError errors;
    auto stranger = std::make_unique<Stranger>(TestIdentity(1), GetParam().typeName, GetParam().userData);
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    EXPECT_TRUE(errors.waitFor(GetParam().warning)) << errors.said();
    EXPECT_FALSE(proxy.isAlive());

    stranger.reset();
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    ASSERT_FALSE(proxy.waitUntilAlive());
    proxy.call(3);
    EXPECT_TRUE(service.log.waitFor("3"));
}

INSTANTIATE_TEST_SUITE_P(Dds, StrangerTest,
                         testing::Values(Kind{"zidbench::Call", "elsewhere\ntest.Interface/1\nprocess 7 on \33host",
                                              "registered by process 7 on ?host, whose calls are of another kind"},
                                         Kind{"zidbench::Call", "not three lines",
                                              "for something else, of the type zidbench::Call"},
                                         Kind{"stranger::Call", "", "for something else, of the type stranger::Call"}));

}  // namespace
