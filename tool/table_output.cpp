#include "tool/table_output.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "notation/object_path.h"
#include "notation/property_order.h"
#include "tool/text_table.h"
#include "tool/value_words.h"

namespace orv::tool {
namespace {

using broker::ClassDefinition;
using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using notation::objectPathText;
using notation::orderedProperties;

std::string arrayText(const Value& value) {
  std::string text;
  for (const Value& element : value.array()) {
    if (!text.empty()) text += ", ";
    text += element.null ? "-" : cellText(nullptr, element);
  }
  return "{" + text + "}";
}

std::string plainText(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value.content)) return *text;
  if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&value.content)) {
    return objectPathText(**path);
  }
  if (const auto* instance = std::get_if<std::shared_ptr<const Instance>>(&value.content)) {
    return "instance of " + (*instance)->path.className;
  }
  if (std::holds_alternative<Value::Array>(value.content)) return arrayText(value);
  return value.toText();
}

template <typename Object, typename ClassName>
std::vector<std::vector<const Object*>> byClass(const std::vector<Object>& objects,
                                                ClassName className) {
  std::vector<std::vector<const Object*>> groups;
  for (const Object& object : objects) {
    auto group = std::find_if(groups.begin(), groups.end(), [&](const auto& g) {
      return broker::sameName(className(*g.front()), className(object));
    });
    if (group == groups.end()) {
      groups.push_back({&object});
    } else {
      group->push_back(&object);
    }
  }
  return groups;
}

// The properties of all instances, each once, in the order in which they first appear.
std::vector<std::string> columnNames(const std::vector<const Instance*>& instances,
                                     const ClassDefinition* definition, bool withNulls) {
  std::vector<std::string> names;
  for (const Instance* instance : instances) {
    for (const broker::Property* p : orderedProperties(*instance, definition, withNulls)) {
      if (std::find(names.begin(), names.end(), p->name) == names.end()) names.push_back(p->name);
    }
  }
  return names;
}

TextTable rowsTable(const std::vector<const Instance*>& instances,
                    const ClassDefinition* definition, bool withNulls) {
  const std::vector<std::string> names = columnNames(instances, definition, withNulls);
  TextTable table(names);
  for (const Instance* instance : instances) {
    std::vector<std::string> row;
    for (const std::string& name : names) {
      const Value* value = instance->property(name);
      row.push_back(value == nullptr
                        ? ""
                        : cellText(definition ? definition->property(name) : nullptr, *value));
    }
    table.add(std::move(row));
  }
  return table;
}

void writeBlock(std::ostream& out, const Instance& instance, const ClassDefinition* definition,
                bool withNulls) {
  TextTable table({"", ""});
  for (const broker::Property* p : orderedProperties(instance, definition, withNulls)) {
    table.add(
        {"  " + p->name, cellText(definition ? definition->property(p->name) : nullptr, p->value)});
  }
  table.print(out);
}

}  // namespace

std::string cellText(const broker::PropertyDefinition* property, const Value& value) {
  if (value.null) return "-";
  std::string words = valueWords(property, value);
  if (std::holds_alternative<broker::DateTime>(value.content) && !words.empty()) return words;
  return words.empty() ? plainText(value) : plainText(value) + " (" + words + ")";
}

void writeTable(std::ostream& out, const std::vector<Instance>& instances,
                const broker::ClassSource& classes, bool withNulls, std::size_t width) {
  bool first = true;
  for (const auto& group : byClass(instances, [](const Instance& i) { return i.path.className; })) {
    const std::string& className = group.front()->path.className;
    const ClassDefinition* definition = classes.find(className);
    const TextTable rows = rowsTable(group, definition, withNulls);
    if (rows.width() <= width) {
      out << (first ? "" : "\n") << className << "\n";
      rows.print(out);
    } else {
      for (const Instance* instance : group) {
        out << (first ? "" : "\n") << className << "\n";
        writeBlock(out, *instance, definition, withNulls);
        first = false;
      }
    }
    first = false;
  }
}

void writeTable(std::ostream& out, const std::vector<ObjectPath>& paths) {
  bool first = true;
  for (const auto& group : byClass(paths, [](const ObjectPath& p) { return p.className; })) {
    out << (first ? "" : "\n") << group.front()->className << "\n";
    first = false;
    std::vector<std::string> names;
    for (const broker::Key& key : group.front()->keys) names.push_back(key.name);
    TextTable table(names);
    for (const ObjectPath* path : group) {
      std::vector<std::string> row;
      for (const std::string& name : names) {
        const Value* value = path->key(name);
        row.push_back(value == nullptr ? "" : cellText(nullptr, *value));
      }
      table.add(std::move(row));
    }
    table.print(out);
  }
}

}  // namespace orv::tool
