# The object layer: Foundation-like pieces, model classes and Linux adapters.
find_package(PkgConfig REQUIRED)
# libplist (its C API): property lists, XML and binary, read and written exactly.
pkg_check_modules(RKCORE_PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
# libsecret: the Secret Service, the password store behind RBKeychain.
pkg_check_modules(RKCORE_SECRET REQUIRED IMPORTED_TARGET libsecret-1)
# xcb and xcb-keysyms: system-wide hot keys as X11 key grabs.
pkg_check_modules(RKCORE_XCB_KEYS REQUIRED IMPORTED_TARGET xcb xcb-keysyms)

add_library(rkcore
  foundation/AssertionFailure.cpp
  foundation/Alert.cpp
  foundation/FrameworkResources.cpp
  foundation/LocalPort.cpp
  foundation/Logging.cpp
  foundation/NotificationCenter.cpp
  foundation/PropertyList.cpp
  model/RBKeychain.cpp
  model/RBPermission.cpp
  model/RBURL.cpp
  platform/SecretService.cpp
  platform/VirtualKeyCodes.cpp
  platform/X11HotKeys.cpp
  services/HotKeyCenter.cpp
  services/HotKeyData.cpp
  services/KeyCombo.cpp
  services/KeyComboArchive.cpp
  services/KeyComboDefaults.cpp
  services/SystemDefinedEvent.cpp)
add_library(RKCore::rkcore ALIAS rkcore)
generate_export_header(rkcore BASE_NAME RKCORE EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/include/rkcore/rkcore_export.h)
target_include_directories(rkcore PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# The framework's own resources, compiled in under :/rkcore/.
configure_file(${PROJECT_SOURCE_DIR}/resources/Info.plist.in ${PROJECT_BINARY_DIR}/resources/Info.plist @ONLY)
set_source_files_properties(${PROJECT_BINARY_DIR}/resources/Info.plist PROPERTIES QT_RESOURCE_ALIAS Info.plist)
qt_add_resources(rkcore rkcore_resources PREFIX /rkcore FILES ${PROJECT_BINARY_DIR}/resources/Info.plist)
qt_add_resources(rkcore rkcore_hotkey_resources PREFIX /rkcore BASE ${PROJECT_SOURCE_DIR}/resources
  FILES ${PROJECT_SOURCE_DIR}/resources/KeyCodes.plist)

# Library code spells Qt keywords out (Q_SIGNALS ...): GLib headers use "signals" as a name.
target_compile_definitions(rkcore PRIVATE QT_NO_KEYWORDS)
target_link_libraries(rkcore
  # Qt Core: strings, containers, the event loop and logging appear in the headers.
  PUBLIC Qt6::Core
  # The C core: the classes wrap its records and headers name them.
  PUBLIC RKCore::rpf
  PRIVATE PkgConfig::RKCORE_PLIST PkgConfig::RKCORE_SECRET $<BUILD_INTERFACE:rkcore_warnings>)
target_link_libraries(rkcore PRIVATE PkgConfig::RKCORE_XCB_KEYS)
set_target_properties(rkcore PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME rkcore)
install(TARGETS rkcore EXPORT RKCoreTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
