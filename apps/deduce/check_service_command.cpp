#include "apps/deduce/check_service_command.h"

#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "services/remote/address.h"
#include "services/remote/remote_backends.h"
#include "services/remote/wire_checks.h"
#include "services/service_checks.h"

namespace tessra::app {

namespace {

/// The service as an engine's section names it.
Dict section_of(const CheckServiceOptions& options) {
  Dict server{{"url", options.url}};
  const std::pair<const char*, const std::string&> files[] = {{"token_file", options.token_file},
                                                              {"ca_file", options.ca_file},
                                                              {"cert_file", options.cert_file},
                                                              {"key_file", options.key_file}};
  for (const auto& [key, file] : files) {
    if (!file.empty()) server.set(key, file);
  }
  return {{"server", server}, {"simulate", Dict()}};
}

void check_section(const Dict& section, const std::string& url) {
  try {
    remote::read_url(url);
    remote::check_remote_settings(section);
  } catch (const Error& error) {
    throw InputError(error.what());
  }
}

void check_calls(const Dict& section, const std::string& scenario, ServiceReport& report) {
  try {
    remote::check_wire(section, {.scenario = scenario}, report);
  } catch (const SurroundingsError&) {
    throw;  // the output
  } catch (const Error& error) {
    throw InputError(error.what());
  }
}

void print(const ServiceReport& report) {
  const std::size_t count = report.findings().size();
  if (count == 0) say("\nno findings\n");
  if (count > 0) say("\n{} finding{}:\n", count, count == 1 ? "" : "s");
  for (const ServiceFinding& finding : report.findings()) {
    say("- {}\n  {} time{}, first in {}\n", finding.text(), finding.times, finding.times == 1 ? "" : "s",
        finding.group);
  }
  for (const std::string& note : report.notes()) say("note: {}\n", note);
}

}  // namespace

int check_remote_service(const CheckServiceOptions& options) {
  const Dict section = section_of(options);
  check_section(section, options.url);
  ServiceReport report([](std::string_view line) { say("{}\n", line); });
  check_calls(section, options.scenario, report);
  check_service([&] { return GameServer::create(section); }, options.scenario, report);
  print(report);
  return report.findings().empty() ? kPlayed : kFailed;
}

}  // namespace tessra::app
