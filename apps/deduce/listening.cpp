#include "apps/deduce/listening.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

#include "Tessra/base/json_write.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "services/remote/secrets.h"

namespace tessra::app {

namespace {

const pid_t parent_at_start = ::getppid();

remote::ServerAccess read_access(const AccessOptions& options) {
  const auto pem = [](const std::string& file) { return file.empty() ? std::string() : remote::read_pem(file); };
  return {.certificate = pem(options.certificate),
          .key = pem(options.key),
          .client_authority = pem(options.client_authority),
          .token = options.token_file.empty() ? "" : remote::read_token(options.token_file)};
}

}  // namespace

std::unique_ptr<remote::ServiceHost> start_host(const std::string& listen, const AccessOptions& access,
                                                remote::RoomOptions rooms) {
  try {
    const remote::Address address = remote::read_listen_address(listen, !access.certificate.empty());
    return std::make_unique<remote::ServiceHost>(address, read_access(access), std::move(rooms));
  } catch (const SurroundingsError&) {
    throw;
  } catch (const Error& error) {
    throw InputError(error.what());
  }
}

void announce(const remote::ServiceHost& host, bool json) {
  const std::string url = host.address().url();
  if (json) {
    say("{}\n", write_json(Dict{{"url", url}, {"pid", std::int64_t{::getpid()}}}));
  } else {
    say("listening on {}\n", url);
  }
}

void end_with_parent() {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent_at_start) ::kill(::getpid(), SIGTERM);  // it has ended already
}

}  // namespace tessra::app
