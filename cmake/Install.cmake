# `cmake --install build/release --prefix WHERE`: the program with its data, and what it takes to build agent libraries
# and hosts with find_package(tessra).
include(CMakePackageConfigHelpers)

install(TARGETS tessra tessra_remote tessra_sample_agents EXPORT tessraTargets LIBRARY DESTINATION lib ARCHIVE DESTINATION lib)
install(TARGETS deduce training_loop RUNTIME DESTINATION bin)
install(DIRECTORY engine/Tessra DESTINATION include FILES_MATCHING PATTERN "*.h")
install(DIRECTORY services DESTINATION include/tessra_services FILES_MATCHING PATTERN "*.h")
install(DIRECTORY agents DESTINATION include/tessra_samples FILES_MATCHING PATTERN "*.h" PATTERN library EXCLUDE)
install(DIRECTORY proto DESTINATION share/tessra FILES_MATCHING PATTERN "*.proto" PATTERN "*.md")
install(DIRECTORY scenarios DESTINATION share/tessra)
install(EXPORT tessraTargets NAMESPACE tessra:: DESTINATION lib/cmake/tessra)

configure_package_config_file(cmake/tessraConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/tessraConfig.cmake
  INSTALL_DESTINATION lib/cmake/tessra)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/tessraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessraConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/tessraConfigVersion.cmake
  DESTINATION lib/cmake/tessra)
