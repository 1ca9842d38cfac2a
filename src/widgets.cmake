# rkcore-widgets: the Qt Widgets components over the object layer (the ui layer).
find_package(Qt6 6.4 REQUIRED COMPONENTS Gui Widgets UiTools)

add_library(rkcore-widgets)
add_library(RKCore::widgets ALIAS rkcore-widgets)
rkcore_add_layer(ui LIBRARY rkcore-widgets)
generate_export_header(rkcore-widgets BASE_NAME RKCORE_WIDGETS
  EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/include/rkcore/rkcore_widgets_export.h)
target_include_directories(rkcore-widgets PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
# The widgets' headers (Q_OBJECT) go through moc from the public include folder.
set_target_properties(rkcore_layer_ui PROPERTIES AUTOMOC ON)
target_sources(rkcore_layer_ui PRIVATE
  ${PROJECT_SOURCE_DIR}/include/rkcore/KeyBroadcaster.h
  ${PROJECT_SOURCE_DIR}/include/rkcore/KeyComboPanel.h
  ${PROJECT_SOURCE_DIR}/include/rkcore/RKHKApplication.h)
target_compile_definitions(rkcore_layer_ui PRIVATE QT_NO_KEYWORDS)
target_link_libraries(rkcore_layer_ui PRIVATE Qt6::Widgets Qt6::UiTools)

# The interface files, compiled in beside the object layer's resources (:/rkcore/).
qt_add_resources(rkcore-widgets rkcore_widgets_resources OUTPUT_TARGETS RKCORE_WIDGETS_RESOURCE_TARGETS PREFIX /rkcore BASE ${PROJECT_SOURCE_DIR}/resources
  FILES ${PROJECT_SOURCE_DIR}/resources/KeyComboPanel.ui)

target_link_libraries(rkcore-widgets
  # Qt Widgets: the components are widgets and their headers say so.
  PUBLIC Qt6::Widgets
  # The object layer: the panel shows KeyCombo values, the application class routes to HotKeyCenter.
  PUBLIC RKCore::rkcore
  # QtUiTools: interface files are loaded at run time, so a missing one behaves like a missing nib.
  PRIVATE Qt6::UiTools)
set_target_properties(rkcore-widgets PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  EXPORT_NAME widgets)
rkcore_relative_rpath(rkcore-widgets ${CMAKE_INSTALL_FULL_LIBDIR})
install(TARGETS rkcore-widgets ${RKCORE_WIDGETS_RESOURCE_TARGETS} EXPORT RKCoreWidgetsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR}/rkcore-objects)
