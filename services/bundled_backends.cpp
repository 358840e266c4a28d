// Registers the backends of this library with the service client, before `main` or when the library is loaded. A host
// only names a scheme in its configuration and need not include anything.

#include "services/embedded_server.h"
#include "services/recorded_server.h"

namespace tessra {

namespace {

struct BundledBackends {
  BundledBackends() {
    GameServer::register_backend("embedded", make_embedded_server);
    GameServer::register_backend("records", make_recorded_server);
    GameServer::register_layer("record", record_situations);
  }
};

const BundledBackends bundled_backends;

}  // namespace

}  // namespace tessra
