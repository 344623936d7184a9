#include "broker/instance_data.h"

#include <algorithm>

namespace orv::broker {
namespace {

bool isArrayType(CMPIType type) { return (type & CMPI_ARRAY) != 0; }

bool isNumber(CMPIType type) { return type != CMPI_null && type < CMPI_ENC; }

/// The value of a key in a path. A key that was never set is zero if it is a number, else null.
Value keyValue(const Value& value) {
  if (!value.null || !isNumber(value.type)) return value;
  if (value.type == CMPI_boolean) return Value::ofBoolean(false);
  if (value.type == CMPI_real32 || value.type == CMPI_real64) return Value::ofReal(value.type, 0);
  if ((value.type & CMPI_SINT) == CMPI_SINT) return Value::ofSigned(value.type, 0);
  return Value::ofUnsigned(value.type, 0);
}

std::vector<Value> initialValues(const ClassLayout* layout) {
  std::vector<Value> values;
  if (layout == nullptr) return values;
  values.reserve(layout->slots.size());
  for (const ClassLayout::Slot& slot : layout->slots) values.push_back(slot.initial);
  return values;
}

}  // namespace

TypeCheck checkType(CMPIType current, CMPIType wanted) {
  if (isArrayType(current)) return isArrayType(wanted) ? TypeCheck::kFits : TypeCheck::kMismatch;
  if (isNumber(current)) return isNumber(wanted) ? TypeCheck::kFits : TypeCheck::kCrash;
  return current == wanted ? TypeCheck::kFits : TypeCheck::kMismatch;
}

InstanceData::InstanceData(std::string nameSpace, std::string className,
                           std::shared_ptr<const ClassLayout> layout)
    : nameSpace_(std::move(nameSpace)),
      className_(std::move(className)),
      layout_(std::move(layout)),
      declared_(initialValues(layout_.get())),
      presence_(declared_.size(), Presence::kPresent) {}

InstanceData::InstanceData(const Instance& plain, std::shared_ptr<const ClassLayout> layout)
    : InstanceData(plain.path.nameSpace, plain.path.className, std::move(layout)) {
  std::fill(presence_.begin(), presence_.end(), Presence::kAbsent);
  for (const Key& key : plain.path.keys) {
    const auto slot = layout_ ? layout_->find(key.name) : std::nullopt;
    if (!slot) continue;
    declared_[*slot] = key.value;
    presence_[*slot] = Presence::kHidden;
  }
  for (const Property& property : plain.properties) {
    if (const auto slot = layout_ ? layout_->find(property.name) : std::nullopt) {
      declared_[*slot] = property.value;
      presence_[*slot] = Presence::kPresent;
    } else {
      extra_.push_back(property);
    }
  }
  setOrder_ = plain.setOrder;
}

bool InstanceData::isListed(std::string_view name) const {
  return !filter_ || filter_->find(name) != filter_->end();
}

bool InstanceData::accepts(std::string_view name, std::optional<std::size_t> slot) const {
  return isListed(name) || (slot && layout_->slots[*slot].definition->key);
}

Property* InstanceData::findExtra(std::string_view name) {
  const auto place = std::find_if(extra_.begin(), extra_.end(), [name](const Property& property) {
    return sameName(property.name, name);
  });
  return place != extra_.end() ? &*place : nullptr;
}

InstanceData::SetOutcome InstanceData::set(std::string_view name, Value value) {
  const auto slot = layout_ ? layout_->find(name) : std::nullopt;
  if (!accepts(name, slot)) return SetOutcome::kDropped;
  Property* extra = slot ? nullptr : findExtra(name);
  if (!slot && extra == nullptr) {
    extra_.push_back({std::string(name), std::move(value)});
    return SetOutcome::kStored;
  }
  Value& target = slot ? declared_[*slot] : extra->value;
  const TypeCheck check = checkType(target.type, value.type);
  if (check == TypeCheck::kCrash) return SetOutcome::kCrash;
  if (check == TypeCheck::kMismatch) return SetOutcome::kMismatch;
  target = std::move(value);
  if (slot && presence_[*slot] == Presence::kAbsent) presence_[*slot] = Presence::kPresent;
  return SetOutcome::kStored;
}

InstanceData::SetOutcome InstanceData::setByProvider(std::string_view name, Value value) {
  const SetOutcome outcome = set(name, std::move(value));
  if (outcome == SetOutcome::kStored) setOrder_.emplace_back(name);
  return outcome;
}

const Value* InstanceData::get(std::string_view name) const {
  if (const auto slot = layout_ ? layout_->find(name) : std::nullopt) {
    return presence_[*slot] == Presence::kAbsent ? nullptr : &declared_[*slot];
  }
  for (const Property& property : extra_) {
    if (sameName(property.name, name)) return &property.value;
  }
  return nullptr;
}

std::size_t InstanceData::count() const {
  const auto absent = std::count(presence_.begin(), presence_.end(), Presence::kAbsent);
  return presence_.size() - static_cast<std::size_t>(absent) + extra_.size();
}

std::pair<const std::string*, const Value*> InstanceData::at(std::size_t index) const {
  for (std::size_t i = 0; i < declared_.size(); ++i) {
    if (presence_[i] == Presence::kAbsent) continue;
    if (index == 0) return {&layout_->slots[i].definition->name, &declared_[i]};
    --index;
  }
  if (index >= extra_.size()) return {nullptr, nullptr};
  return {&extra_[index].name, &extra_[index].value};
}

void InstanceData::applyFilter(const std::vector<std::string>& listed) {
  filter_.emplace(listed.begin(), listed.end());
  for (std::size_t i = 0; i < declared_.size(); ++i) {
    const PropertyDefinition& definition = *layout_->slots[i].definition;
    if (isListed(definition.name)) continue;
    presence_[i] = definition.key ? Presence::kHidden : Presence::kAbsent;
  }
  extra_.erase(std::remove_if(extra_.begin(), extra_.end(),
                              [this](const Property& item) { return !isListed(item.name); }),
               extra_.end());
}

std::optional<ObjectPath> InstanceData::objectPath() const {
  if (!layout_) return std::nullopt;
  ObjectPath path{"", nameSpace_, className_, {}};
  for (const std::size_t slot : layout_->keys) {
    path.keys.push_back({layout_->slots[slot].definition->name, keyValue(declared_[slot])});
  }
  return path;
}

void InstanceData::setObjectPath(const ObjectPath& path,
                                 std::shared_ptr<const ClassLayout> layout) {
  if (layout_.get() != layout.get()) {
    InstanceData moved(path.nameSpace, path.className, std::move(layout));
    for (std::size_t i = 0; i < declared_.size(); ++i) {
      if (presence_[i] == Presence::kPresent && !declared_[i].null) {
        moved.set(layout_->slots[i].definition->name, declared_[i]);
      }
    }
    for (Property& property : extra_) moved.set(property.name, std::move(property.value));
    moved.filter_ = std::move(filter_);
    moved.setOrder_ = std::move(setOrder_);
    *this = std::move(moved);
  }
  nameSpace_ = path.nameSpace;
  className_ = path.className;
  for (const Key& key : path.keys) set(key.name, key.value);
}

Instance InstanceData::toPlain() const {
  Instance plain;
  plain.path = objectPath().value_or(ObjectPath{"", nameSpace_, className_, {}});
  for (std::size_t i = 0; i < declared_.size(); ++i) {
    if (presence_[i] == Presence::kPresent) {
      plain.properties.push_back({layout_->slots[i].definition->name, declared_[i]});
    }
  }
  plain.properties.insert(plain.properties.end(), extra_.begin(), extra_.end());
  plain.setOrder = setOrder_;
  return plain;
}

}  // namespace orv::broker
