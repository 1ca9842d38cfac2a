# The object layer: Foundation-like pieces, model classes and Linux adapters.
find_package(PkgConfig REQUIRED)
# libplist (its C API): property lists, XML and binary, read and written exactly.
pkg_check_modules(RKCORE_PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
# libsecret: the Secret Service, the password store behind RBKeychain.
pkg_check_modules(RKCORE_SECRET REQUIRED IMPORTED_TARGET libsecret-1)
# xcb and xcb-keysyms: system-wide hot keys as X11 key grabs.
pkg_check_modules(RKCORE_XCB_KEYS REQUIRED IMPORTED_TARGET xcb xcb-keysyms)
# xcb-ewmh and xcb-icccm: other programs' windows (process list, full-screen monitor).
pkg_check_modules(RKCORE_XCB_EWMH REQUIRED IMPORTED_TARGET xcb-ewmh xcb-icccm)

# The object layer is three layers (foundation, platform, model) and the
# services over them, each its own object library, combined into one library.
add_library(rkcore)
add_library(RKCore::rkcore ALIAS rkcore)
foreach(layer IN ITEMS foundation platform model services)
  rkcore_add_layer(${layer} LIBRARY rkcore)
  # Library code spells Qt keywords out (Q_SIGNALS ...): GLib headers use "signals" as a name.
  target_compile_definitions(rkcore_layer_${layer} PRIVATE QT_NO_KEYWORDS)
  # Qt Core and Gui appear in every layer's headers.
  target_link_libraries(rkcore_layer_${layer} PRIVATE Qt6::Core Qt6::Gui)
endforeach()
# Each layer compiles with the libraries it wraps, and only those.
target_link_libraries(rkcore_layer_foundation PRIVATE PkgConfig::RKCORE_PLIST)
target_link_libraries(rkcore_layer_platform PRIVATE
  PkgConfig::RKCORE_SECRET PkgConfig::RKCORE_XCB_KEYS PkgConfig::RKCORE_XCB_EWMH)
generate_export_header(rkcore BASE_NAME RKCORE EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/include/rkcore/rkcore_export.h)
target_include_directories(rkcore PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# The framework's own resources, compiled in under :/rkcore/.
configure_file(${PROJECT_SOURCE_DIR}/resources/Info.plist.in ${PROJECT_BINARY_DIR}/resources/Info.plist @ONLY)
set_source_files_properties(${PROJECT_BINARY_DIR}/resources/Info.plist PROPERTIES QT_RESOURCE_ALIAS Info.plist)
# The badges are drawn at build time by the project's own generator.
add_executable(rkcore_make_badges ${PROJECT_SOURCE_DIR}/resources/badges/make_badges.cpp)
target_link_libraries(rkcore_make_badges PRIVATE Qt6::Gui rkcore_warnings)
set(RKCORE_BADGES ${PROJECT_BINARY_DIR}/resources/AliasBadge.png ${PROJECT_BINARY_DIR}/resources/LockedBadge.png)
add_custom_command(OUTPUT ${RKCORE_BADGES}
  COMMAND rkcore_make_badges ${PROJECT_BINARY_DIR}/resources
  DEPENDS rkcore_make_badges
  COMMENT "Drawing the badges")
set_source_files_properties(${PROJECT_BINARY_DIR}/resources/AliasBadge.png PROPERTIES QT_RESOURCE_ALIAS AliasBadge.png)
set_source_files_properties(${PROJECT_BINARY_DIR}/resources/LockedBadge.png PROPERTIES QT_RESOURCE_ALIAS LockedBadge.png)
qt_add_resources(rkcore rkcore_resources OUTPUT_TARGETS RKCORE_RESOURCE_TARGETS_1 PREFIX /rkcore FILES ${PROJECT_BINARY_DIR}/resources/Info.plist ${RKCORE_BADGES})
qt_add_resources(rkcore rkcore_hotkey_resources OUTPUT_TARGETS RKCORE_RESOURCE_TARGETS_2 PREFIX /rkcore BASE ${PROJECT_SOURCE_DIR}/resources
  FILES ${PROJECT_SOURCE_DIR}/resources/KeyCodes.plist)
# The label swatches l1.png .. l7.png (resources/labels/make_swatches.cpp draws them).
qt_add_resources(rkcore rkcore_label_swatches OUTPUT_TARGETS RKCORE_RESOURCE_TARGETS_3 PREFIX /rkcore BASE ${PROJECT_SOURCE_DIR}/resources/labels
  FILES ${PROJECT_SOURCE_DIR}/resources/labels/l1.png ${PROJECT_SOURCE_DIR}/resources/labels/l2.png
        ${PROJECT_SOURCE_DIR}/resources/labels/l3.png ${PROJECT_SOURCE_DIR}/resources/labels/l4.png
        ${PROJECT_SOURCE_DIR}/resources/labels/l5.png ${PROJECT_SOURCE_DIR}/resources/labels/l6.png
        ${PROJECT_SOURCE_DIR}/resources/labels/l7.png)

target_link_libraries(rkcore
  # Qt Core: strings, containers, the event loop and logging appear in the headers.
  PUBLIC Qt6::Core
  # Qt Gui: QImage (icons, badges, label swatches) appears in the headers.
  PUBLIC Qt6::Gui
  # The C core: the classes wrap its records and headers name them.
  PUBLIC RKCore::rpf
  # libplist, libsecret and xcb stay behind the library: no public header names them.
  PRIVATE PkgConfig::RKCORE_PLIST PkgConfig::RKCORE_SECRET PkgConfig::RKCORE_XCB_KEYS PkgConfig::RKCORE_XCB_EWMH)
set_target_properties(rkcore PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME rkcore)
rkcore_relative_rpath(rkcore ${CMAKE_INSTALL_FULL_LIBDIR})
# A static librkcore carries its compiled-in resources as object libraries
# (OUTPUT_TARGETS, empty for a shared build), installed beside it.
install(TARGETS rkcore ${RKCORE_RESOURCE_TARGETS_1} ${RKCORE_RESOURCE_TARGETS_2} ${RKCORE_RESOURCE_TARGETS_3}
  EXPORT RKCoreTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR}/rkcore-objects)

# The label swatch generator (not built by default): `--target label-swatches`
# redraws resources/labels/l1.png .. l7.png from the label table.
add_executable(make_label_swatches EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/resources/labels/make_swatches.cpp)
target_link_libraries(make_label_swatches PRIVATE RKCore::rkcore Qt6::Gui rkcore_warnings)
add_custom_target(label-swatches
  COMMAND make_label_swatches ${PROJECT_SOURCE_DIR}/resources/labels
  COMMENT "Drawing the label swatches into resources/labels")
# The helper programs (adminopen, root-runner) are found from the library's own folder.
file(RELATIVE_PATH RKCORE_LIBEXEC_FROM_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR}/rkcore)
set_property(SOURCE foundation/HelperPrograms.cpp APPEND PROPERTY
  COMPILE_DEFINITIONS RKCORE_LIBEXEC_FROM_LIBDIR="${RKCORE_LIBEXEC_FROM_LIBDIR}")
# The polkit action of adminopen: one for the build tree (tests make it visible
# to a private polkitd), one installed, each naming its own adminopen.
set(RKCORE_ADMINOPEN_PATH ${PROJECT_BINARY_DIR}/bin/adminopen)
configure_file(${PROJECT_SOURCE_DIR}/resources/org.ravix.rkcore.adminopen.policy.in
  ${PROJECT_BINARY_DIR}/share/polkit-1/actions/org.ravix.rkcore.adminopen.policy @ONLY)
set(RKCORE_ADMINOPEN_PATH ${CMAKE_INSTALL_FULL_LIBEXECDIR}/rkcore/adminopen)
configure_file(${PROJECT_SOURCE_DIR}/resources/org.ravix.rkcore.adminopen.policy.in
  ${PROJECT_BINARY_DIR}/install/org.ravix.rkcore.adminopen.policy @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/install/org.ravix.rkcore.adminopen.policy
  DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
