#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

/// The backend "records:", which plays the records of one recorded episode from the folder `address`. Commands are
/// accepted without effect. Reading beyond the recording throws an `Error` naming the missing file.
std::shared_ptr<GameServer> make_recorded_server(const Dict& section, std::string_view address);

/// The file of an episode's update with this number, from 1.
std::filesystem::path recorded_update(const std::filesystem::path& folder, int number);

/// Wraps a client in a recorder, which saves the records of every episode in the folder `server.record` before the
/// engine changes them. `docs/replay.md` describes the files.
std::shared_ptr<GameServer> record_situations(std::shared_ptr<GameServer> client, const Dict& section);

}  // namespace tessra
