#include "serve/query.h"

#include <gtest/gtest.h>

#include <string>

#include "broker/mof_reader.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::Value;

class QueryTest : public testing::Test {
 protected:
  QueryTest() {
    broker::MofReader(classes_).readText(R"(
      class T_Part { string Name; };
      class T_Fan : T_Part { };
      class T_Holder { [Key] string Id; [EmbeddedInstance("T_Part")] string Part; };
    )",
                                         "query.mof");
  }

  /// A T_Holder whose Part is of that class.
  static Instance holderOf(const std::string& partClass) {
    Instance part;
    part.path.className = partClass;
    part.properties.push_back({"Name", Value::ofString("left")});
    Instance holder;
    holder.path.className = "T_Holder";
    holder.properties.push_back({"Part", Value::ofInstance(part)});
    return holder;
  }
  bool selects(const std::string& condition, const Instance& instance) const {
    return Query("SELECT * FROM T_Holder WHERE " + condition, "WQL", classes_).selects(instance);
  }

  broker::ClassRepository classes_;
};

TEST_F(QueryTest, IsaComparesTheClassOfAnEmbeddedInstance) {
  EXPECT_TRUE(selects("Part ISA T_Part", holderOf("T_Fan")));
  EXPECT_TRUE(selects("Part ISA T_Fan", holderOf("T_Fan")));
  EXPECT_FALSE(selects("Part ISA T_Fan", holderOf("T_Part")));
  EXPECT_FALSE(selects("NOT Part ISA T_Part", holderOf("T_Fan")));
  EXPECT_FALSE(selects("Id ISA T_Part", holderOf("T_Fan")));
}

TEST_F(QueryTest, ADotLeadsIntoAnEmbeddedInstance) {
  EXPECT_TRUE(selects("Part.Name = 'left'", holderOf("T_Fan")));
  EXPECT_FALSE(selects("Part.Name = 'right'", holderOf("T_Fan")));
  EXPECT_FALSE(selects("Part.Name.Name = 'left'", holderOf("T_Fan")));
}

}  // namespace
}  // namespace orv::serve
