# Installs the libraries, their public headers, a CMake package
# (find_package(VIMRAIPLArithmetic CONFIG) -> VIMRAIPLArithmetic::VIMRAIPLArithmetic and the
# framework targets) and a pkg-config file. Fronts install themselves in their own folders.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VIMRA_INSTALL_TARGETS vimra_core vimra_image vimra_processor vimra_formula vimra_gpu VIMRAIPLArithmetic)
set(VIMRA_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VIMRAIPLArithmetic)

foreach(target ${VIMRA_INSTALL_TARGETS})
  # The targets name their source folders as include directories: valid in the
  # build tree only. Installed, they use the installed include folder.
  get_target_property(dirs ${target} INTERFACE_INCLUDE_DIRECTORIES)
  set(wrapped "")
  foreach(dir ${dirs})
    if(dir MATCHES "^\\$<")
      list(APPEND wrapped "${dir}")
    else()
      list(APPEND wrapped "$<BUILD_INTERFACE:${dir}>")
    endif()
  endforeach()
  list(APPEND wrapped "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  set_target_properties(${target} PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${wrapped}"
    INSTALL_RPATH "$ORIGIN")
endforeach()

install(TARGETS ${VIMRA_INSTALL_TARGETS} EXPORT VIMRAIPLArithmeticTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/public/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(part core image processor formula gpu)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/framework/${part}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endforeach()

install(EXPORT VIMRAIPLArithmeticTargets NAMESPACE VIMRAIPLArithmetic::
        DESTINATION ${VIMRA_CMAKE_INSTALL_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/install/VIMRAIPLArithmeticConfig.cmake.in
  ${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmeticConfig.cmake
  INSTALL_DESTINATION ${VIMRA_CMAKE_INSTALL_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmeticConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmeticConfig.cmake
              ${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmeticConfigVersion.cmake
        DESTINATION ${VIMRA_CMAKE_INSTALL_DIR})

get_target_property(VIMRA_LIBRARY_NAME VIMRAIPLArithmetic OUTPUT_NAME)
# The .pc file finds the prefix relative to itself, so an installed tree can move.
file(RELATIVE_PATH VIMRA_PC_TO_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
configure_file(${PROJECT_SOURCE_DIR}/cmake/install/VIMRAIPLArithmetic.pc.in
  ${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmetic.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/install/VIMRAIPLArithmetic.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
