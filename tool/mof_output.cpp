#include "tool/mof_output.h"

#include <memory>
#include <string>
#include <variant>

#include "notation/object_path.h"
#include "notation/property_order.h"
#include "tool/readable_text.h"
#include "tool/value_words.h"

namespace orv::tool {
namespace {

using broker::Instance;
using broker::Value;
using notation::objectPathText;
using notation::orderedProperties;

class Writer {
 public:
  Writer(std::ostream& out, const broker::ClassSource& classes, bool withNulls)
      : out_(out), classes_(classes), withNulls_(withNulls) {}

  void instance(const Instance& instance, const std::string& indent) {
    const broker::ClassDefinition* definition = classes_.find(instance.path.className);
    out_ << "instance of " << oneLine(instance.path.className) << " {\n";
    for (const broker::Property* p : orderedProperties(instance, definition, withNulls_)) {
      property(*p, definition, indent + "  ");
    }
    out_ << indent << "}";
  }

 private:
  void property(const broker::Property& property, const broker::ClassDefinition* definition,
                const std::string& indent) {
    out_ << indent << oneLine(property.name) << " = ";
    const Value::Content& content = property.value.content;
    if (const auto* inner = std::get_if<std::shared_ptr<const Instance>>(&content)) {
      instance(**inner, indent);
    } else if (const auto* path =
                   std::get_if<std::shared_ptr<const broker::ObjectPath>>(&content)) {
      out_ << oneLine(Value::ofString(objectPathText(**path)).toText());
    } else {
      out_ << oneLine(property.value.toText());
    }
    out_ << ";";
    const std::string words = valueWords(
        definition != nullptr ? definition->property(property.name) : nullptr, property.value);
    if (!words.empty()) out_ << "  // " << oneLine(words);
    out_ << "\n";
  }

  std::ostream& out_;
  const broker::ClassSource& classes_;
  bool withNulls_;
};

}  // namespace

void writeMof(std::ostream& out, const Instance& instance, const broker::ClassSource& classes,
              bool withNulls) {
  Writer(out, classes, withNulls).instance(instance, "");
  out << ";\n";
}

}  // namespace orv::tool
