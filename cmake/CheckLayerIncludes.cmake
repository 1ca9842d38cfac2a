# Fails when a file of one layer includes a header of a higher layer or a file
# outside the layers (tools/, tests/, bench/ ...). Run by the build before the
# layer's objects compile (cmake/RKCoreLayers.cmake):
#   cmake -DLAYER=model -DSOURCE_DIR=<source tree> -P CheckLayerIncludes.cmake
# The files of a layer are src/LAYER/* and the public headers that belong to it
# (cmake/RKCoreLayerMap.cmake). Quoted includes are resolved as the compiler
# resolves them (beside the file, then in the layer's own and lower folders);
# <rkcore/NAME.h> by the header map. Other headers (the C library, Qt, system
# libraries) are the compiler's business: a layer without their include path
# fails to compile.
cmake_minimum_required(VERSION 3.25)
foreach(var LAYER SOURCE_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "CheckLayerIncludes.cmake: -D${var}=... is required")
  endif()
endforeach()
include("${SOURCE_DIR}/cmake/RKCoreLayerMap.cmake")

list(FIND RKCORE_LAYERS "${LAYER}" own_rank)
if(own_rank LESS 0)
  message(FATAL_ERROR "CheckLayerIncludes.cmake: unknown layer '${LAYER}' (layers: ${RKCORE_LAYERS})")
endif()
# The folders the layer's files may reach with a quoted include.
set(search_dirs "")
foreach(index RANGE ${own_rank})
  list(GET RKCORE_LAYERS ${index} below)
  list(APPEND search_dirs "${SOURCE_DIR}/src/${below}")
endforeach()
list(SUBLIST RKCORE_LAYERS 0 ${own_rank} allowed)
list(APPEND allowed ${LAYER})
list(JOIN allowed ", " allowed_text)

# The layer of a file in the source tree: a layer name, "outside" for the tree's
# other folders, "" for a file outside the tree (system headers).
function(layer_of_path out path)
  file(REAL_PATH "${path}" real)
  file(RELATIVE_PATH rel "${SOURCE_DIR}" "${real}")
  set(layer "")
  if(rel MATCHES "^src/([^/]+)/" AND CMAKE_MATCH_1 IN_LIST RKCORE_LAYERS)
    set(layer ${CMAKE_MATCH_1})
  elseif(rel MATCHES "^include/rkcore/([^/]+)$")
    rkcore_header_layer(layer "${SOURCE_DIR}" "${CMAKE_MATCH_1}")
    if(layer STREQUAL "")
      set(layer "unmapped")
    endif()
  elseif(NOT rel MATCHES "^\\.\\./")
    set(layer "outside")
  endif()
  set(${out} "${layer}" PARENT_SCOPE)
endfunction()

# The files that make up the layer.
file(GLOB files LIST_DIRECTORIES false
  "${SOURCE_DIR}/src/${LAYER}/*.c" "${SOURCE_DIR}/src/${LAYER}/*.cpp" "${SOURCE_DIR}/src/${LAYER}/*.h")
file(GLOB headers LIST_DIRECTORIES false "${SOURCE_DIR}/include/rkcore/*.h")
foreach(header IN LISTS headers)
  get_filename_component(name "${header}" NAME)
  rkcore_header_layer(layer "${SOURCE_DIR}" "${name}")
  if(layer STREQUAL LAYER)
    list(APPEND files "${header}")
  endif()
endforeach()

set(problems "")
foreach(file IN LISTS files)
  file(RELATIVE_PATH shown "${SOURCE_DIR}" "${file}")
  get_filename_component(file_dir "${file}" DIRECTORY)
  file(STRINGS "${file}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "#[ \t]*include[ \t]*([<\"])([^>\"]+)[>\"]")
      continue()
    endif()
    set(kind "${CMAKE_MATCH_1}")
    set(name "${CMAKE_MATCH_2}")
    set(target_layer "")
    set(found "")
    if(kind STREQUAL "\"")
      foreach(dir IN ITEMS "${file_dir}" ${search_dirs})
        if(EXISTS "${dir}/${name}" AND NOT IS_DIRECTORY "${dir}/${name}")
          set(found "${dir}/${name}")
          break()
        endif()
      endforeach()
    endif()
    if(found)
      layer_of_path(target_layer "${found}")
    elseif(name MATCHES "^rkcore/([^/]+)$")
      rkcore_header_layer(target_layer "${SOURCE_DIR}" "${CMAKE_MATCH_1}")
      if(target_layer STREQUAL "")
        set(target_layer "unmapped")
      endif()
    endif()

    if(target_layer STREQUAL "" OR target_layer IN_LIST allowed)
      continue()
    elseif(target_layer STREQUAL "outside")
      file(REAL_PATH "${found}" real)
      file(RELATIVE_PATH where "${SOURCE_DIR}" "${real}")
      string(APPEND problems "  ${shown} includes ${where}, which is outside the framework's layers\n")
    elseif(target_layer STREQUAL "unmapped")
      string(APPEND problems "  ${shown} includes ${name}, which belongs to no layer: "
        "add it to cmake/RKCoreLayerMap.cmake\n")
    else()
      string(APPEND problems "  ${shown} includes ${name}, a header of the higher layer ${target_layer}\n")
    endif()
  endforeach()
endforeach()

if(problems)
  message(FATAL_ERROR "Layer '${LAYER}' includes upwards (it may include only ${allowed_text}):\n${problems}")
endif()
