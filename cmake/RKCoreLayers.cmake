# The layers of the framework as the build sees them: each folder src/LAYER is
# an object library rkcore_layer_LAYER, compiled with the include paths of its
# own folder and of the layers below it only, and combined with its neighbours
# into the shared libraries (core -> rpf; foundation, platform, model and
# services -> rkcore; ui -> rkcore-widgets).
#
# The public headers all live in include/rkcore, so include paths cannot keep a
# layer from naming a higher layer's public header, and a quoted relative
# include reaches anything. Before a layer compiles, the build therefore runs
# cmake/CheckLayerIncludes.cmake over its files (the target
# rkcore_layer_LAYER_check, part of ALL), which fails on any include of a
# higher layer's header or of a file outside the layers (tools/ ...).
include(${CMAKE_CURRENT_LIST_DIR}/RKCoreLayerMap.cmake)

# rkcore_add_layer(<layer> LIBRARY <library target>): the object library
# rkcore_layer_<layer> of every .c and .cpp file in src/<layer>, whose objects
# <library target> links (compiled with its export macro).
function(rkcore_add_layer layer)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LIBRARY" "")
  set(folder ${PROJECT_SOURCE_DIR}/src/${layer})
  # A new file in a layer folder belongs to that layer at once (a re-glob on
  # every build), so no file escapes the include check.
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.c ${folder}/*.cpp)
  file(GLOB private_headers CONFIGURE_DEPENDS ${folder}/*.h)
  file(GLOB public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/rkcore/*.h)

  set(target rkcore_layer_${layer})
  add_library(${target} OBJECT ${sources})
  list(FIND RKCORE_LAYERS ${layer} rank)
  foreach(index RANGE ${rank})
    list(GET RKCORE_LAYERS ${index} below)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src/${below})
  endforeach()
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/include)
  target_link_libraries(${target} PRIVATE rkcore_warnings)
  # The objects are the library's: its export macro must say "exporting".
  string(MAKE_C_IDENTIFIER "${arg_LIBRARY}_EXPORTS" export_symbol)
  target_compile_definitions(${target} PRIVATE $<$<BOOL:${BUILD_SHARED_LIBS}>:${export_symbol}>)
  target_sources(${arg_LIBRARY} PRIVATE $<TARGET_OBJECTS:${target}>)

  set(stamp ${PROJECT_BINARY_DIR}/layer-checks/${layer}.stamp)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -DLAYER=${layer} -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
      -P ${PROJECT_SOURCE_DIR}/cmake/CheckLayerIncludes.cmake
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${sources} ${private_headers} ${public_headers}
      ${PROJECT_SOURCE_DIR}/cmake/CheckLayerIncludes.cmake ${PROJECT_SOURCE_DIR}/cmake/RKCoreLayerMap.cmake
    COMMENT "Checking that the ${layer} layer includes only downwards"
    VERBATIM)
  add_custom_target(${target}_check ALL DEPENDS ${stamp})
  add_dependencies(${target} ${target}_check)
endfunction()
