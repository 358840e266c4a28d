#include "simulation/command_script.h"

#include <fmt/format.h>

// Lua is built as C++ here; its headers declare their own linkage.
#include <lauxlib.h>
#include <lua.h>

#include <cstdlib>
#include <memory>

#include "Tessra/base/value.h"

namespace tessra::sim {

namespace {

constexpr std::size_t kMaxText = std::size_t{64} << 10;     // bytes
constexpr std::size_t kMaxMemory = std::size_t{512} << 10;  // bytes
constexpr int kMaxInstructions = 20'000;
constexpr int kMaxValues = 10'000;  // in the tables of one call; shared tables count each time
constexpr int kMaxDepth = 8;

/// What one chunk may use, and what it called.
struct Run {
  std::size_t memory = 0;
  int values = 0;
  std::vector<CommandCall> calls;
};

Run& run_of(lua_State* lua) { return **static_cast<Run**>(lua_getextraspace(lua)); }

void* allocate(void* run_pointer, void* block, std::size_t old_size, std::size_t new_size) {
  Run& run = *static_cast<Run*>(run_pointer);
  const std::size_t freed = block != nullptr ? old_size : 0;
  if (new_size == 0) {
    std::free(block);
    run.memory -= freed;
    return nullptr;
  }
  if (new_size > freed && run.memory - freed + new_size > kMaxMemory) return nullptr;
  void* moved = std::realloc(block, new_size);
  if (moved != nullptr) run.memory = run.memory - freed + new_size;
  return moved;
}

void stop_endless_chunk(lua_State* lua, lua_Debug*) { luaL_error(lua, "too many instructions"); }

/// Bytes of the UTF-8 character that starts here, 0 when there is none.
std::size_t character_size(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return 1;
  const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80) return 0;
  }
  const auto second = static_cast<unsigned char>(text[1]);
  const bool overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool beyond = (first == 0xed && second > 0x9f) || (first == 0xf4 && second > 0x8f);
  return overlong || beyond ? 0 : size;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = character_size(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

std::string_view text_at(lua_State* lua, int index) {
  std::size_t size = 0;
  const char* bytes = lua_tolstring(lua, index, &size);
  if (!is_utf8({bytes, size})) luaL_error(lua, "a text is not UTF-8");
  return {bytes, size};
}

Value value_at(lua_State* lua, int index, int depth);

List list_at(lua_State* lua, int table, int depth) {
  List list;
  const auto length = static_cast<lua_Integer>(lua_rawlen(lua, table));
  for (lua_Integer i = 1; i <= length; ++i) {
    lua_rawgeti(lua, table, i);
    list.push_back(value_at(lua, lua_gettop(lua), depth));
    lua_pop(lua, 1);
  }
  return list;
}

Dict dict_at(lua_State* lua, int table, int depth) {
  Dict dict;
  lua_pushnil(lua);
  while (lua_next(lua, table) != 0) {
    if (lua_type(lua, -2) != LUA_TSTRING) luaL_error(lua, "a table has mixed keys");
    const Value value = value_at(lua, lua_gettop(lua), depth);
    dict.set(text_at(lua, -2), value);
    lua_pop(lua, 1);
  }
  return dict;
}

Value value_at(lua_State* lua, int index, int depth) {
  if (++run_of(lua).values > kMaxValues) luaL_error(lua, "too many values");
  if (depth > kMaxDepth) luaL_error(lua, "tables too deep");
  luaL_checkstack(lua, 4, "tables too deep");
  switch (lua_type(lua, index)) {
    case LUA_TBOOLEAN:
      return lua_toboolean(lua, index) != 0;
    case LUA_TSTRING:
      return text_at(lua, index);
    case LUA_TNUMBER:
      if (lua_isinteger(lua, index) != 0) return static_cast<std::int64_t>(lua_tointeger(lua, index));
      return static_cast<double>(lua_tonumber(lua, index));
    case LUA_TTABLE:
      break;
    default:
      luaL_error(lua, "a value is no text, number, boolean or table");
  }
  lua_pushnil(lua);
  const bool empty = lua_next(lua, index) == 0;
  if (!empty) lua_pop(lua, 2);
  if (empty || lua_rawlen(lua, index) > 0) return list_at(lua, index, depth + 1);
  return dict_at(lua, index, depth + 1);
}

int take_call(lua_State* lua) {
  if (lua_gettop(lua) != 1 || lua_type(lua, 1) != LUA_TTABLE) return luaL_error(lua, "a command takes one table");
  CommandCall call{lua_tostring(lua, lua_upvalueindex(1)), dict_at(lua, 1, 1)};
  run_of(lua).calls.push_back(std::move(call));
  return 0;
}

struct CloseState {
  void operator()(lua_State* lua) const { lua_close(lua); }
};
using State = std::unique_ptr<lua_State, CloseState>;

State open_state(Run& run, const std::vector<std::string>& names) {
  State state(lua_newstate(allocate, &run));
  if (!state) throw CommandError("no memory for the command");
  *static_cast<Run**>(lua_getextraspace(state.get())) = &run;
  for (const std::string& name : names) {
    lua_pushstring(state.get(), name.c_str());
    lua_pushcclosure(state.get(), take_call, 1);
    lua_setglobal(state.get(), name.c_str());
  }
  lua_sethook(state.get(), stop_endless_chunk, LUA_MASKCOUNT, kMaxInstructions);
  return state;
}

[[noreturn]] void fail_with_message(lua_State* lua) {
  const char* message = lua_type(lua, -1) == LUA_TSTRING ? lua_tostring(lua, -1) : "the command failed";
  throw CommandError(message);
}

}  // namespace

CommandCall read_command(const std::string& text, const std::vector<std::string>& names) {
  if (text.size() > kMaxText) throw CommandError(fmt::format("longer than {} bytes", kMaxText));
  Run run;
  const State state = open_state(run, names);
  lua_State* lua = state.get();
  if (luaL_loadbufferx(lua, text.data(), text.size(), "=command", "t") != LUA_OK) fail_with_message(lua);
  if (lua_pcall(lua, 0, 0, 0) != LUA_OK) fail_with_message(lua);
  if (run.calls.size() != 1) {
    throw CommandError(fmt::format("must call one command once, calls {}", run.calls.size()));
  }
  return run.calls.front();
}

}  // namespace tessra::sim
