# tarlox_layer(TARGET FOLDER [DEPENDS target...] [PRIVATE target...])
#
# One folder of src/ becomes one static library. Its headers are visible as
# "FOLDER/Name.h" only to the library itself and to the libraries that link
# it: each library's include root holds links to its own headers alone, so a
# header of a layer that is not linked is simply not found and a wrong-way
# include does not build. Libraries link downwards only; see
# docs/ARCHITECTURE.md for the order.
function(tarlox_layer target folder)
  cmake_parse_arguments(LAYER "" "" "DEPENDS;PRIVATE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h
       ${CMAKE_CURRENT_SOURCE_DIR}/*.ui ${CMAKE_CURRENT_SOURCE_DIR}/*.qrc)
  if(sources)
    add_library(${target} STATIC ${sources})
    target_link_libraries(${target} PUBLIC tarlox_options ${LAYER_DEPENDS} PRIVATE ${LAYER_PRIVATE})
  else()
    # A subsystem still without code keeps its place in the order.
    add_library(${target} INTERFACE)
    target_link_libraries(${target} INTERFACE ${LAYER_DEPENDS})
  endif()
  tarlox_headers(${target} ${folder})
endfunction()

# Makes the headers of the current folder visible as "FOLDER/Name.h" to
# TARGET and to whatever links it.
function(tarlox_headers target folder)
  set(root ${CMAKE_BINARY_DIR}/layers/${target})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root}/${folder})
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  foreach(header ${headers})
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${root}/${folder}/${name} SYMBOLIC)
  endforeach()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE ${root})
  elseif(type STREQUAL "EXECUTABLE")
    target_include_directories(${target} PRIVATE ${root})
  else()
    target_include_directories(${target} PUBLIC ${root})
  endif()
endfunction()
