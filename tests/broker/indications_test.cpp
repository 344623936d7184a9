#include <atomic>

#include "broker/testing/test_broker.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Indications : public SampleBroker {
 protected:
  SubscribeResult subscribe(const std::string& query, const std::string& name = "") {
    IndicationFilter filter;
    filter.query = query;
    filter.sourceNamespace = "root/test";
    filter.name = name;
    return broker_->subscribe(
        filter, [this](const Instance& indication) { received_.push_back(indication); });
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> out;
    for (const Instance& indication : received_) out.push_back(indication.property("Text")->text());
    return out;
  }
  std::vector<Instance> received_;
};

TEST_F(Indications, ASubscriptionCallsTheProviderInOrder) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  const SubscribeResult result = subscribe("SELECT * FROM Test_Alarm");
  EXPECT_TRUE(result.ok()) << result.message.value_or("");
  EXPECT_NE(result.id, 0U);
  EXPECT_EQ(library_.takeLog(),
            "Sample factory indication principal $$ rc 0 parameters none\n"
            "Sample authorizeFilter Test_Alarm root/test:Test_Alarm owner null entries 3 "
            "[SELECT * FROM Test_Alarm]\n"
            "Sample mustPoll Test_Alarm Test_Alarm\n"
            "Sample activateFilter Test_Alarm first 1\n"
            "Sample enableIndications entries 3\n");
}

TEST_F(Indications, EnableIsCalledOnceAndFirstAndLastAreAlwaysTrue) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  const SubscribeResult one = subscribe("SELECT * FROM Test_Alarm", "filter one");
  library_.takeLog();
  const SubscribeResult same = subscribe("SELECT * FROM Test_Alarm", "filter one");
  EXPECT_EQ(library_.takeLog(), "") << "a second subscription on a filter calls nothing";
  const SubscribeResult two = subscribe("SELECT Text FROM Test_Alarm");
  EXPECT_THAT(library_.takeLog(), testing::AllOf(HasSubstr("activateFilter Test_Alarm first 1"),
                                                 testing::Not(HasSubstr("enableIndications"))));
  EXPECT_TRUE(broker_->unsubscribe(one.id).ok());
  EXPECT_EQ(library_.takeLog(), "");
  EXPECT_TRUE(broker_->unsubscribe(same.id).ok());
  EXPECT_EQ(library_.takeLog(), "Sample deActivateFilter Test_Alarm last 1\n");
  EXPECT_TRUE(broker_->unsubscribe(two.id).ok());
  library_.takeLog();
  subscribe("SELECT * FROM Test_Alarm");
  EXPECT_THAT(library_.takeLog(), testing::Not(HasSubstr("enableIndications")))
      << "it is enabled still";
  EXPECT_EQ(broker_->unsubscribe(one.id).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Indications, AFilterOnTheRootOfIndicationsIsNotSupported) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  for (const char* root : {"CIM_Indication", "cim_instindication"}) {
    const SubscribeResult result = subscribe(std::string("SELECT * FROM ") + root);
    EXPECT_EQ(result.rc, CMPI_RC_ERR_NOT_SUPPORTED) << root;
    EXPECT_EQ(result.id, 0U);
  }
  EXPECT_EQ(library_.takeLog(), "");
}

TEST_F(Indications, TheOwnerIsThePrincipal) {
  Broker::Options options = makeOptions({makeSection("Test_Alarm", "Sample", "n")});
  options.principal = "someone";
  start(std::move(options));
  subscribe("SELECT * FROM Test_Alarm");
  EXPECT_THAT(library_.takeLog(), HasSubstr("owner someone"));
}

TEST_F(Indications, AFilterOnASuperclassActivatesEveryProviderUnderItsName) {
  start({makeSection("Test_Alarm", "Sample", "n"), makeSection("Test_Notice", "Other", "n")});
  EXPECT_TRUE(subscribe("SELECT * FROM Test_Event").ok());
  EXPECT_THAT(library_.takeLog(), testing::AllOf(HasSubstr("Sample activateFilter Test_Event"),
                                                 HasSubstr("Other activateFilter Test_Event")));
}

TEST_F(Indications, ProvidersCanRefuse) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  library_.set("authorizeFilter", 2);
  SubscribeResult result = subscribe("SELECT * FROM Test_Alarm");
  EXPECT_EQ(result.rc, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(result.message, "authorize says so");
  EXPECT_EQ(result.id, 0U);
  EXPECT_THAT(library_.takeLog(), testing::Not(HasSubstr("mustPoll")));
  library_.set("authorizeFilter", 0);
  library_.set("activateFilter", 7);
  result = subscribe("SELECT * FROM Test_Alarm");
  EXPECT_EQ(result.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_THAT(library_.takeLog(), testing::Not(HasSubstr("enableIndications")));
  EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_OK);
  EXPECT_THAT(received_, IsEmpty());
}

TEST_F(Indications, BadFiltersAreRefused) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  EXPECT_EQ(subscribe("SELECT FROM Test_Alarm").rc, CMPI_RC_ERR_INVALID_QUERY);
  EXPECT_EQ(subscribe("SELECT * FROM Test_Notice").rc, CMPI_RC_ERR_FAILED) << "nobody serves it";
  IndicationFilter filter{"SELECT * FROM Test_Alarm", "SQL", "root/test", ""};
  EXPECT_EQ(broker_->subscribe(filter, nullptr).rc, CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
  filter.language = "dmtf:cql";
  EXPECT_TRUE(broker_->subscribe(filter, nullptr).ok());
  filter.sourceNamespace = "root/none";
  EXPECT_EQ(broker_->subscribe(filter, nullptr).rc, CMPI_RC_ERR_INVALID_NAMESPACE);
  subscribe("SELECT * FROM Test_Alarm", "name");
  EXPECT_EQ(subscribe("SELECT Text FROM Test_Alarm", "name").rc, CMPI_RC_ERR_ALREADY_EXISTS);
}

TEST_F(Indications, AreDeliveredToFiltersThatSelectThem) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  subscribe("SELECT * FROM Test_Event WHERE Level >= 3 AND Text <> 'no'");
  EXPECT_EQ(library_.deliver("Test_Alarm", "low", 2), CMPI_RC_OK);
  EXPECT_EQ(library_.deliver("Test_Alarm", "no", 5), CMPI_RC_OK);
  EXPECT_EQ(library_.deliver("Test_Alarm", "yes", 3), CMPI_RC_OK);
  EXPECT_EQ(library_.deliver("Test_Notice", "other class", 4), CMPI_RC_OK);
  EXPECT_THAT(texts(), ElementsAre("yes", "other class"));
}

TEST_F(Indications, WithoutAnyFilterAreFine) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  broker_->unsubscribe(subscribe("SELECT * FROM Test_Alarm").id);
  EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_OK);
  EXPECT_THAT(received_, IsEmpty());
  EXPECT_THAT(broker_->reports(), IsEmpty());
}

TEST_F(Indications, OfAnUnknownClassAreReportedEvenWithoutFilters) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  broker_->unsubscribe(subscribe("SELECT * FROM Test_Alarm").id);
  EXPECT_EQ(library_.deliver("Test_Nowhere", "x"), CMPI_RC_ERR_FAILED);
  ASSERT_EQ(broker_->reports().size(), 1U);
  EXPECT_EQ(broker_->reports()[0].className, "Test_Nowhere");
  EXPECT_THAT(broker_->reports()[0].what, HasSubstr("does not know: a crash"));
}

TEST_F(Indications, CarryTheBrokersOwnPropertiesWhereTheClassHasThem) {
  start({makeSection("Test_Alarm", "Sample", "n"), makeSection("Test_Notice", "Other", "n")});
  subscribe("SELECT * FROM Test_Event", "my filter");
  library_.deliver("Test_Alarm", "a");
  library_.deliver("Test_Alarm", "b");
  library_.deliver("Test_Notice", "c");
  ASSERT_EQ(received_.size(), 3U);
  EXPECT_EQ(*received_[1].property("SequenceNumber"), Value::ofSigned(CMPI_sint64, 1));
  EXPECT_EQ(*received_[1].property("IndicationFilterName"), Value::ofString("my filter"));
  EXPECT_EQ(received_[2].property("SequenceNumber"), nullptr);
}

TEST_F(Indications, AProjectionNarrowsTheSendersInstanceForGood) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  subscribe("SELECT Level FROM Test_Alarm");
  RequestScope scope(*broker_);
  const CMPIBroker* mb = Broker::cmpi();
  CMPIInstance* sent = scope.make(
      Instance{{"", "root/test", "Test_Alarm", {}},
               {{"Level", Value::ofUnsigned(CMPI_uint32, 4)}, {"Text", Value::ofString("t")}},
               {}});
  EXPECT_EQ(mb->bft->deliverIndication(mb, scope.context(), "root/test", sent).rc, CMPI_RC_OK);
  ASSERT_EQ(received_.size(), 1U);
  EXPECT_EQ(received_[0].properties.size(), 1U);
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  sent->ft->getProperty(sent, "Text", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST_F(Indications, UndeclaredPropertiesAreDelivered) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  subscribe("SELECT * FROM Test_Alarm");
  RequestScope scope(*broker_);
  const CMPIBroker* mb = Broker::cmpi();
  CMPIInstance* sent = scope.make(
      Instance{{"", "root/test", "Test_Alarm", {}}, {{"Undeclared", Value::ofBoolean(true)}}, {}});
  mb->bft->deliverIndication(mb, scope.context(), "root/test", sent);
  ASSERT_EQ(received_.size(), 1U);
  EXPECT_EQ(*received_[0].property("Undeclared"), Value::ofBoolean(true));
}

TEST_F(Indications, DisablingStopsDeliveryAndCallsDisableIndications) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  const SubscribeResult one = subscribe("SELECT * FROM Test_Alarm");
  library_.takeLog();
  broker_->disable(one.id);
  EXPECT_EQ(library_.takeLog(), "Sample disableIndications entries 3\n");
  EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_OK);
  EXPECT_THAT(received_, IsEmpty());
  subscribe("SELECT * FROM Test_Alarm");
  EXPECT_THAT(library_.takeLog(), HasSubstr("enableIndications"));
}

TEST_F(Indications, AHandlersExceptionIsReportedAndStaysOutOfTheProvider) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  IndicationFilter filter{"SELECT * FROM Test_Alarm", "WQL", "root/test", ""};
  broker_->subscribe(filter, [](const Instance&) { throw std::runtime_error("handler"); });
  EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_OK);
  EXPECT_THAT(broker_->reports(), ElementsAre(Says("handler")));
}

TEST_F(Indications, NoHandlerRunsOnceTheBrokerIsGone) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  subscribe("SELECT * FROM Test_Alarm");
  broker_.reset();
  EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_ERR_FAILED) << "there is no broker";
  EXPECT_THAT(received_, IsEmpty());
}

TEST_F(Indications, ADeliveryOnADeadContextIsReported) {
  start({makeSection("Test_Alarm", "Sample", "n")});
  subscribe("SELECT * FROM Test_Alarm");
  const CMPIContext* prepared = library_.prepared();
  const CMPIBroker* mb = Broker::cmpi();
  RequestScope scope(*broker_);
  CMPIInstance* sent = scope.make(Instance{{"", "root/test", "Test_Alarm", {}}, {}, {}});
  EXPECT_EQ(mb->bft->deliverIndication(mb, prepared, "root/test", sent).rc, CMPI_RC_OK);
  library_.call("sampleDropPrepared");
  EXPECT_EQ(mb->bft->deliverIndication(mb, prepared, "root/test", sent).rc,
            CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_THAT(scope.reports(), ElementsAre(Says("its thread has detached")));
  EXPECT_EQ(received_.size(), 1U);
}

}  // namespace
}  // namespace orv::broker
