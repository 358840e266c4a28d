#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

/// The backend "records:": plays the situation records of one recorded episode, the folder `address`. Commands are
/// taken and have no effect. Whoever asks for more than was recorded gets an `Error` naming the file that is missing.
std::shared_ptr<GameServer> make_recorded_server(const Dict& section, std::string_view address);

/// The file of an episode's update with this number, counted from 1.
std::filesystem::path recorded_update(const std::filesystem::path& folder, int number);

/// Puts a recorder in front of a client: every episode's records are kept below the folder in `server.record`, before
/// the engine changes them. `docs/replay.md` gives the files.
std::shared_ptr<GameServer> record_situations(std::shared_ptr<GameServer> client, const Dict& section);

}  // namespace tessra
