# What `cmake --install` puts under the prefix: the headers, the library
# (shared with its SONAME links, or static), a CMake package
# (find_package(LumoMath CONFIG) gives LumoMath::lumomath), a pkg-config file,
# the licence and, when built, the tool.
include(CMakePackageConfigHelpers)

set(LUMOMATH_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/LumoMath)
set(LUMOMATH_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS lumomath EXPORT LumoMathTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/lumomath DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/lumomath)
if(TARGET lumomath_tool)
  install(TARGETS lumomath_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# What the package and the pkg-config file must pass on for a static archive:
# its own dependencies, for linking only.
if(BUILD_SHARED_LIBS)
  set(LUMOMATH_STATIC OFF)
else()
  set(LUMOMATH_STATIC ON)
endif()
set(_lumo_private hwy)
if(LUMOMATH_FFT STREQUAL "fftw")
  list(PREPEND _lumo_private fftw3 fftw3f)
endif()
list(APPEND _lumo_private ${LUMOMATH_CXX_RUNTIME})
list(TRANSFORM _lumo_private PREPEND "-l")
list(JOIN _lumo_private " " LUMOMATH_PC_LIBS_PRIVATE)
string(APPEND LUMOMATH_PC_LIBS_PRIVATE " -pthread")

install(EXPORT LumoMathTargets NAMESPACE LumoMath:: DESTINATION ${LUMOMATH_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LumoMathConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LumoMathConfig.cmake INSTALL_DESTINATION ${LUMOMATH_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumoMathConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumoMathConfig.cmake ${PROJECT_BINARY_DIR}/LumoMathConfigVersion.cmake
  DESTINATION ${LUMOMATH_CMAKE_DIR})

# The pkg-config file finds the prefix from its own place, so that it stays
# right when `cmake --install --prefix` moves the tree elsewhere.
if(IS_ABSOLUTE "${LUMOMATH_PKGCONFIG_DIR}")
  set(_lumo_pc_dir "${LUMOMATH_PKGCONFIG_DIR}")
else()
  set(_lumo_pc_dir "${CMAKE_INSTALL_PREFIX}/${LUMOMATH_PKGCONFIG_DIR}")
endif()
file(RELATIVE_PATH LUMOMATH_PC_TO_PREFIX "${_lumo_pc_dir}" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" LUMOMATH_PC_TO_PREFIX "${LUMOMATH_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/lumomath.pc.in ${PROJECT_BINARY_DIR}/lumomath.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumomath.pc DESTINATION ${LUMOMATH_PKGCONFIG_DIR})
