#include "tool/printer.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <utility>

#include "notation/json.h"
#include "notation/object_path.h"
#include "tool/mof_output.h"
#include "tool/readable_text.h"
#include "tool/table_output.h"

namespace orv::tool {

using notation::Json;
using notation::jsonText;
using notation::objectPathText;
using notation::toJson;

void Printer::instances(const std::vector<broker::Instance>& instances) {
  if (options_.format == Format::kTable) {
    writeTable(out_, instances, classes_, options_.withNulls, options_.width);
    return;
  }
  if (options_.format == Format::kMof) {
    const char* separator = "";
    for (const broker::Instance& one : instances) {
      out_ << std::exchange(separator, "\n");
      writeMof(out_, one, classes_, options_.withNulls);
    }
    return;
  }
  Json array = Json::array();
  for (const broker::Instance& one : instances) {
    array.push_back(toJson(one, classes_, options_.withNulls));
  }
  out_ << jsonText(array) << "\n";
}

void Printer::paths(const std::vector<broker::ObjectPath>& paths) {
  if (options_.format == Format::kTable) {
    writeTable(out_, paths);
    return;
  }
  if (options_.format == Format::kMof) {
    for (const broker::ObjectPath& path : paths) out_ << oneLine(objectPathText(path)) << "\n";
    return;
  }
  Json array = Json::array();
  for (const broker::ObjectPath& path : paths) array.push_back(toJson(path, classes_));
  out_ << jsonText(array) << "\n";
}

void Printer::instance(const broker::Instance& instance) {
  if (options_.format == Format::kJson) {
    out_ << jsonText(toJson(instance, classes_, options_.withNulls)) << "\n";
  } else {
    instances({instance});
  }
}

void Printer::indication(const broker::Instance& indication) {
  if (options_.format == Format::kJson) {
    out_ << jsonText(toJson(indication, classes_, options_.withNulls), -1) << "\n";
  } else {
    instances({indication});
  }
  out_ << std::flush;
}

std::size_t terminalWidth() {
  constexpr std::size_t kDefault = 120;
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kDefault;
}

}  // namespace orv::tool
