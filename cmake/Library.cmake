# Engine, simulation and the backends in this process: one shared library, so that the default works without asking and
# programs and agent libraries share one registry and catch errors by type.
add_library(tessra SHARED
  $<TARGET_OBJECTS:tessra_base>
  $<TARGET_OBJECTS:tessra_engine>
  $<TARGET_OBJECTS:tessra_services>
  $<TARGET_OBJECTS:tessra_simulation>
)
set_target_properties(tessra PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)
target_compile_features(tessra PUBLIC cxx_std_20)
target_include_directories(tessra PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/engine> $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>
  $<INSTALL_INTERFACE:include> $<INSTALL_INTERFACE:include/tessra_services>)
target_link_libraries(tessra
  PUBLIC fmt::fmt spdlog::spdlog
  PRIVATE simdjson::simdjson PkgConfig::geographiclib SQLite::SQLite3 Threads::Threads ${CMAKE_DL_LIBS})
tessra_target_options(tessra)
