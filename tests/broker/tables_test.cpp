#include <cstring>

#include "broker/testing/test_broker.h"
#include "cmpi/abi/cmpi_tables.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

/// Indexes of the null words of a table, the first word (versions) left out.
template <class Table>
std::vector<int> nullSlots(const Table* table) {
  std::vector<int> out;
  for (std::size_t i = 1; i < sizeof(Table) / sizeof(void*); ++i) {
    void* slot = nullptr;
    std::memcpy(&slot, reinterpret_cast<const char*>(table) + i * sizeof(void*), sizeof slot);
    if (slot == nullptr) out.push_back(static_cast<int>(i));
  }
  return out;
}

using testing::ElementsAre;
using testing::IsEmpty;

class Tables : public testing::Test {
 protected:
  TestBroker broker_{makeOptions()};
  RequestScope scope_{broker_};
  const CMPIBroker* mb_ = Broker::cmpi();
  CMPIStatus rc_{CMPI_RC_OK, nullptr};
};

TEST_F(Tables, OfTheBrokerHaveTheObjectManagersVersionsAndNullSlots) {
  EXPECT_EQ(mb_->bft->brokerCapabilities, 0x1BFU);
  EXPECT_EQ(mb_->bft->brokerVersion, 0U);
  EXPECT_STREQ(mb_->bft->brokerName, "RequestHandler");
  EXPECT_THAT(nullSlots(mb_->bft), IsEmpty());
  EXPECT_EQ(mb_->eft->ftVersion, 1);
  EXPECT_THAT(nullSlots(mb_->eft), ElementsAre(17, 18, 19, 20));
  EXPECT_EQ(mb_->xft->ftVersion, 200);
  EXPECT_THAT(nullSlots(mb_->xft), ElementsAre(3, 4, 5, 6, 20));
  EXPECT_EQ(mb_->mft->ftVersion, 200);
  EXPECT_THAT(nullSlots(mb_->mft), ElementsAre(3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14));
}

TEST_F(Tables, OfObjectsHaveTheObjectManagersVersionsAndNullSlots) {
  CMPIObjectPath* path = mb_->eft->newObjectPath(mb_, "root/test", "Test_Disk", nullptr);
  EXPECT_EQ(path->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(path->ft), ElementsAre(15, 17, 18));
  CMPIInstance* instance = mb_->eft->newInstance(mb_, path, nullptr);
  EXPECT_EQ(instance->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(instance->ft), ElementsAre(10));
  RecordingResult result(scope_);
  EXPECT_EQ(result.record()->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(result.record()->ft), ElementsAre(7));
  EXPECT_EQ(scope_.context()->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(scope_.context()->ft), IsEmpty());
  CMPIString* text = mb_->eft->newString(mb_, "x", nullptr);
  EXPECT_EQ(text->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(text->ft), IsEmpty());
  EXPECT_STREQ(static_cast<const char*>(text->hdl), "x");
  CMPIArray* array = mb_->eft->newArray(mb_, 1, CMPI_string, nullptr);
  EXPECT_EQ(array->ft->ftVersion, 1);
  EXPECT_THAT(nullSlots(array->ft), IsEmpty());
  EXPECT_THAT(nullSlots(mb_->eft->newDateTime(mb_, nullptr)->ft), IsEmpty());
  EXPECT_THAT(nullSlots(mb_->eft->newArgs(mb_, nullptr)->ft), IsEmpty());
}

TEST_F(Tables, WhatTheObjectManagerDoesNotSupportAnswersSeven) {
  CMPIObjectPath* path = mb_->eft->newObjectPath(mb_, "root/test", "Test_Disk", nullptr);
  EXPECT_EQ(mb_->bft->setProperty(mb_, scope_.context(), path, "x", nullptr, CMPI_string).rc,
            CMPI_RC_ERR_NOT_SUPPORTED);
  mb_->bft->getProperty(mb_, scope_.context(), path, "x", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(mb_->eft->logMessage(mb_, 1, "id", "text", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(mb_->eft->trace(mb_, 1, "component", "text", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  CMPIString* message = mb_->eft->getMessage(mb_, "id", "default", &rc_, 0);
  EXPECT_EQ(RequestScope::copy(message), "default");
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(Tables, ToStringKnowsPathsAndInstancesOnly) {
  CMPIObjectPath* path = mb_->eft->newObjectPath(mb_, "root/test", "Test_Disk", nullptr);
  EXPECT_EQ(RequestScope::copy(mb_->eft->toString(mb_, path, &rc_)), "root/test:Test_Disk");
  CMPIInstance* instance = mb_->eft->newInstance(mb_, path, nullptr);
  EXPECT_THAT(RequestScope::copy(mb_->eft->toString(mb_, instance, &rc_)).value_or(""),
              testing::HasSubstr("instance of Test_Disk"));
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
  EXPECT_EQ(mb_->eft->toString(mb_, mb_->eft->newString(mb_, "x", nullptr), &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(Tables, ArgumentsAreKeptByName) {
  CMPIArgs* arguments = mb_->eft->newArgs(mb_, nullptr);
  const auto text = reinterpret_cast<const CMPIValue*>("text");
  EXPECT_EQ(arguments->ft->addArg(arguments, "One", text, CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(arguments->ft->addArg(arguments, "ONE", text, CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(arguments->ft->getArgCount(arguments, nullptr), 1U);
  EXPECT_EQ(RequestScope::copy(arguments->ft->getArg(arguments, "one", nullptr)),
            Value::ofString("text"));
  arguments->ft->getArg(arguments, "two", &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_FOUND);
}

void* startedThread(void* parameter) {
  *static_cast<int*>(parameter) = 7;
  return nullptr;
}

TEST_F(Tables, ServicesAreThreadsMutexesAndConditions) {
  char* file = mb_->xft->resolveFileName("name");
  EXPECT_STREQ(file, "libname.so");
  free(file);
  int answer = 0;
  void* thread = mb_->xft->newThread(startedThread, &answer, 0);
  pthread_join(reinterpret_cast<pthread_t>(thread), nullptr);
  EXPECT_EQ(answer, 7);
  void* mutex = mb_->xft->newMutex(0);
  void* condition = mb_->xft->newCondition(0);
  mb_->xft->lockMutex(mutex);
  timespec past{1, 0};
  EXPECT_EQ(mb_->xft->timedCondWait(condition, mutex, &past), ETIMEDOUT);
  mb_->xft->unlockMutex(mutex);
  mb_->xft->destroyCondition(condition);
  mb_->xft->destroyMutex(mutex);
}

TEST_F(Tables, EnumerationsAreTakenInOrderAndBecomeArrays) {
  TestBroker broker(makeOptions({makeSection("Test_Disk", "Sample", "i")}));
  SampleLibrary library;
  RequestScope scope(broker);
  CMPIObjectPath* path = mb_->eft->newObjectPath(mb_, "root/test", "Test_Disk", nullptr);
  CMPIEnumeration* found = mb_->bft->enumerateInstanceNames(mb_, scope.context(), path, nullptr);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->ft->ftVersion, 1);
  CMPIArray* all = found->ft->toArray(found, nullptr);
  EXPECT_EQ(all->ft->getSize(all, nullptr), 2U);
  EXPECT_EQ(all->ft->getSimpleType(all, nullptr), CMPI_ref);
  EXPECT_EQ(found->ft->hasNext(found, nullptr), 1);
  const CMPIData first = found->ft->getNext(found, nullptr);
  EXPECT_EQ(first.type, CMPI_ref);
  EXPECT_EQ(RequestScope::copy(first.value.ref).key("Id")->text(), "Sample-Test_Disk-0");
  found->ft->getNext(found, nullptr);
  EXPECT_EQ(found->ft->hasNext(found, nullptr), 0);
  EXPECT_EQ(found->ft->getNext(found, &rc_).state, CMPI_notFound);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Tables, SelectExpressionsHaveNormalForms) {
  CMPIArray* projection = nullptr;
  CMPISelectExp* expression = mb_->eft->newSelectExp(
      mb_, "SELECT Level, Text FROM Test_Event WHERE (Level = 1 OR Level = 2) AND Text = 'x'",
      "WQL", &projection, &rc_);
  ASSERT_NE(expression, nullptr);
  EXPECT_EQ(projection->ft->getSize(projection, nullptr), 2U);
  CMPISelectCond* doc = expression->ft->getDOC(expression, nullptr);
  int type = -1;
  EXPECT_EQ(doc->ft->getCountAndType(doc, &type, nullptr), 2U);
  EXPECT_EQ(type, 0);
  CMPISubCond* part = doc->ft->getSubCondAt(doc, 1, nullptr);
  EXPECT_EQ(part->ft->getCount(part, nullptr), 2U);
  CMPIPredicate* predicate = part->ft->getPredicateAt(part, 0, nullptr);
  CMPIPredOp op = CMPI_PredOp_Or;
  CMPIString* left = nullptr;
  CMPIString* right = nullptr;
  CMPIType literal = CMPI_null;
  EXPECT_EQ(predicate->ft->getData(predicate, &literal, &op, &left, &right).rc, CMPI_RC_OK);
  EXPECT_EQ(op, CMPI_PredOp_Equals);
  EXPECT_EQ(RequestScope::copy(left), "Level");
  EXPECT_EQ(RequestScope::copy(right), "2");
  EXPECT_NE(part->ft->getPredicate(part, "text", nullptr), nullptr);
  CMPISelectCond* cod = expression->ft->getCOD(expression, nullptr);
  EXPECT_EQ(cod->ft->getCountAndType(cod, &type, nullptr), 2U);
  EXPECT_EQ(type, 1);
  expression->ft->evaluateUsingAccessor(expression, nullptr, nullptr, &rc_);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  CMPISelectExp* clone = expression->ft->clone(expression, nullptr);
  EXPECT_EQ(RequestScope::copy(clone->ft->getString(clone, nullptr)).value_or("").substr(0, 13),
            "SELECT Level,");
  clone->ft->release(clone);
}

TEST_F(Tables, AConditionWhoseNormalFormIsTooLargeHasNone) {
  std::string query = "SELECT * FROM Test_Event WHERE Level = 0 OR (Level = 1";
  for (int i = 0; i < 13; ++i) query += " AND (Level = 1 OR Text = 'x')";
  query += ")";
  CMPISelectExp* expression = mb_->eft->newSelectExp(mb_, query.c_str(), "WQL", nullptr, &rc_);
  ASSERT_NE(expression, nullptr);
  EXPECT_EQ(expression->ft->getDOC(expression, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_FAILED);
  EXPECT_NE(expression->ft->getCOD(expression, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_OK);
}

TEST_F(Tables, SelectExpressionsTellWhatIsWrong) {
  EXPECT_EQ(mb_->eft->newSelectExp(mb_, "SELECT", "WQL", nullptr, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_INVALID_QUERY);
  EXPECT_EQ(mb_->eft->newSelectExp(mb_, "SELECT * FROM X", "SQL", nullptr, &rc_), nullptr);
  EXPECT_EQ(rc_.rc, CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
}

}  // namespace
}  // namespace orv::broker
