# The layers of the framework, lowest first, and which layer each public header
# belongs to. Read by the build (cmake/RKCoreLayers.cmake) and by the include
# check (cmake/CheckLayerIncludes.cmake), so this file is the one place to edit.
#
# A file of a layer may include headers of its own layer and of the layers
# listed before it, never of a later layer and never of tools/.
# foundation sits below platform: the Linux adapters log, read resources and
# property lists through the foundation, and the foundation needs no adapter.
set(RKCORE_LAYERS core foundation platform model services ui)

# A public header include/rkcore/NAME.h belongs to the layer whose folder holds
# its implementation, src/LAYER/NAME.c, NAME.cpp or NAME+Category.cpp. The
# headers below have no implementation of that name (declarations only,
# templates, umbrella and generated headers) and are placed by hand.
set(RKCORE_HEADER_LAYER_rpf.h core)
set(RKCORE_HEADER_LAYER_rpf_export.h core)
set(RKCORE_HEADER_LAYER_rpf_memory.h core)
set(RKCORE_HEADER_LAYER_Conventions.h foundation)
set(RKCORE_HEADER_LAYER_ArrayInsert.h foundation)
set(RKCORE_HEADER_LAYER_rkcore_export.h foundation)
set(RKCORE_HEADER_LAYER_HotKeyEvent.h platform)
set(RKCORE_HEADER_LAYER_KeychainResultCodes.h platform)
set(RKCORE_HEADER_LAYER_rkcore_widgets_export.h ui)

# rkcore_header_layer(<out-var> <source-dir> <header-name>): the layer of the
# public header <header-name> (a file name such as RBURL.h), or "" when it has
# none (then the check asks for an entry above).
function(rkcore_header_layer out source_dir header)
  if(DEFINED RKCORE_HEADER_LAYER_${header})
    set(${out} "${RKCORE_HEADER_LAYER_${header}}" PARENT_SCOPE)
    return()
  endif()
  string(REGEX REPLACE "\\.h$" "" stem "${header}")
  file(GLOB impl LIST_DIRECTORIES false
    "${source_dir}/src/*/${stem}.c" "${source_dir}/src/*/${stem}.cpp" "${source_dir}/src/*/${stem}+*.cpp")
  set(layer "")
  foreach(file IN LISTS impl)
    get_filename_component(folder "${file}" DIRECTORY)
    get_filename_component(folder "${folder}" NAME)
    if(folder IN_LIST RKCORE_LAYERS)
      set(layer ${folder})
      break()
    endif()
  endforeach()
  set(${out} "${layer}" PARENT_SCOPE)
endfunction()
