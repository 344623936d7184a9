#include "tool/options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "tool/errors.h"

namespace orv::tool {
namespace {

constexpr const char* kFooter = R"(Examples:
  orvcim list
  orvcim instances Orvane_EthernetPort --format table
  orvcim instances Orvane_EPStatisticalInformation --property InstanceID bytesRx bytesTx
  orvcim get 'Orvane_EPStatisticalInformation.InstanceID="Orvane:Orvane_EPStatisticalInformation:eth0"'
  orvcim associators 'Orvane_EthernetPort.DeviceID="eth0"' --assoc-class Orvane_EPStatistics
  orvcim watch Orvane_CIMHeartbeat Orvane_KernelIPChangedIndication
  orvcim --simulate host.json list
  orvcim serve --listen 127.0.0.1:5988

An object path is Class.Key="value",Other=5 with an optional namespace: in front, as `orvcim names`
prints them. Quote it for the shell.

Exit status: 0, 1 when a request was answered with an error, 2 for wrong usage or unusable files.)";

void addGlobalOptions(CLI::App& app, Options& options) {
  const std::map<std::string, Format> formats = {
      {"mof", Format::kMof}, {"json", Format::kJson}, {"table", Format::kTable}};
  app.add_option("-f,--format", options.print.format, "How to print: mof (default), json or table")
      ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""))
      ->type_name("FORMAT");
  app.add_flag("--nulls", options.print.withNulls, "Print properties that are null, too");
  app.add_option("-n,--namespace", options.nameSpace, "Namespace of classes and paths")
      ->capture_default_str()
      ->type_name("NAME");
  app.add_option(
         "--library", options.libraries,
         "Provider library to load (default: liborvprovider.so); may be given again for the "
         "libraries of other registrations")
      ->allow_extra_args(false)
      ->type_name("FILE");
  app.add_option("--schema", options.schemas,
                 "Directory with class definitions (*.mof) and registration (*.reg); may be given "
                 "again for more on top")
      ->allow_extra_args(false)
      ->type_name("DIR");
  app.add_option("--simulate", options.simulate,
                 "Ask the host that this JSON file describes instead of this one")
      ->type_name("FILE");
  app.set_version_flag("--version", "orvcim " ORV_VERSION);
}

CLI::App* addCommand(CLI::App& app, Options& options, Command command, const char* name,
                     const char* description) {
  CLI::App* sub = app.add_subcommand(name, description);
  sub->callback([&options, command] { options.command = command; });
  return sub;
}

void addClassName(CLI::App& sub, Options& options) {
  sub.add_option("CLASS", options.className, "Class name")->required()->type_name("");
}

void addObjectPath(CLI::App& sub, Options& options) {
  sub.add_option("OBJECTPATH", options.objectPath, "Object path")->required()->type_name("");
}

void addProperties(CLI::App& sub, Options& options) {
  sub.add_option("-p,--property", options.properties, "Only these properties, and keys")
      ->type_name("NAME...")
      ->delimiter(',');
}

void addText(CLI::App& sub, const char* name, std::optional<std::string>& target,
             const char* description) {
  sub.add_option(name, target, description)->type_name("NAME");
}

// Associators can be told apart by either end, references by the near one only.
void addAssociationCommand(CLI::App& app, Options& options, Command command, const char* name,
                           const char* description) {
  CLI::App* sub = addCommand(app, options, command, name, description);
  addObjectPath(*sub, options);
  const bool farEnd = command == Command::kAssociators || command == Command::kAssociatorNames;
  if (farEnd) addText(*sub, "--assoc-class", options.assocClass, "Through this association class");
  addText(*sub, "--result-class", options.resultClass,
          farEnd ? "Only objects of this class" : "Only associations of this class");
  addText(*sub, "--role", options.role, "Only where the object has this role");
  if (farEnd) {
    addText(*sub, "--result-role", options.resultRole, "Only where the other end has this role");
  }
  if (command == Command::kAssociators || command == Command::kReferences) {
    addProperties(*sub, options);
  }
}

void addCommands(CLI::App& app, Options& options) {
  addCommand(app, options, Command::kList, "list",
             "Classes served, with their number of instances");
  CLI::App* names = addCommand(app, options, Command::kNames, "names", "Object paths of a class");
  addClassName(*names, options);
  CLI::App* instances =
      addCommand(app, options, Command::kInstances, "instances", "Instances of a class");
  addClassName(*instances, options);
  addProperties(*instances, options);
  CLI::App* get = addCommand(app, options, Command::kGet, "get", "One instance");
  addObjectPath(*get, options);
  addProperties(*get, options);
  addAssociationCommand(app, options, Command::kAssociators, "associators",
                        "Instances that are associated with an object");
  addAssociationCommand(app, options, Command::kAssociatorNames, "associator-names",
                        "Object paths of what is associated with an object");
  addAssociationCommand(app, options, Command::kReferences, "references",
                        "Associations of an object");
  addAssociationCommand(app, options, Command::kReferenceNames, "reference-names",
                        "Object paths of the associations of an object");
  CLI::App* watch = addCommand(app, options, Command::kWatch, "watch",
                               "Print indications as they arrive, until Ctrl-C");
  watch->add_option("CLASS", options.classNames, "Indication classes")->required()->type_name("");
  addCommand(app, options, Command::kHealth, "health", "Roll-up health and latched health records");
  CLI::App* serve = addCommand(app, options, Command::kServe, "serve",
                               "CIM-XML over HTTP for CIM clients on this machine, until Ctrl-C");
  serve
      ->add_option("--listen", options.listen, "Loopback address and port; port 0 takes a free one")
      ->capture_default_str()
      ->type_name("ADDRESS:PORT");
}

}  // namespace

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus) {
  Options options;
  options.print.width = terminalWidth();
  CLI::App app{"Asks the providers of liborvprovider through an embedded object manager.",
               "orvcim"};
  app.footer(kFooter);
  app.fallthrough();
  app.require_subcommand(1);
  addGlobalOptions(app, options);
  addCommands(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    exitStatus = app.exit(e) == 0 ? kExitOk : kExitBadInput;
    return std::nullopt;
  }
  return options;
}

}  // namespace orv::tool
