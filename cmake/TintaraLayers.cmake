# The engine is built as one static library per layer. A layer links only the layers
# before it in this list, so a call upward is a link error, not a matter of discipline.
set(TINTARA_LAYERS foundation io numeric color charts link icc separation linearization)

find_package(Threads REQUIRED)
find_package(tinyxml2 QUIET)
if(NOT tinyxml2_FOUND)
  find_library(TINYXML2_LIBRARY tinyxml2 REQUIRED)
endif()

set(_tintara_previous "")
foreach(layer IN LISTS TINTARA_LAYERS)
  file(GLOB_RECURSE _sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${layer}/*.cpp)
  if(_sources)
    add_library(tintara_${layer} STATIC ${_sources})
    target_include_directories(tintara_${layer} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(tintara_${layer} PUBLIC ${_tintara_previous} Threads::Threads)
  else()
    add_library(tintara_${layer} INTERFACE)
    target_include_directories(tintara_${layer} INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(tintara_${layer} INTERFACE ${_tintara_previous} Threads::Threads)
  endif()
  set(_tintara_previous tintara_${layer})
endforeach()
# Plug-ins are loaded through the system's dynamic loader.
target_link_libraries(tintara_io PUBLIC ${CMAKE_DL_LIBS})
# TinyXML reads and writes the XML chart formats.
get_target_property(_charts_type tintara_charts TYPE)
if(_charts_type STREQUAL "INTERFACE_LIBRARY")
  set(_charts_scope INTERFACE)
else()
  set(_charts_scope PUBLIC)
endif()
if(TARGET tinyxml2::tinyxml2)
  target_link_libraries(tintara_charts ${_charts_scope} tinyxml2::tinyxml2)
else()
  target_link_libraries(tintara_charts ${_charts_scope} ${TINYXML2_LIBRARY})
endif()

# The whole engine below the exported layer.
add_library(tintara_core INTERFACE)
target_link_libraries(tintara_core INTERFACE ${_tintara_previous})

# The exported layer is compiled once and packed twice: into the shared library that hosts
# load, and into a static library through which the C++ tests reach the same code.
file(GLOB_RECURSE _exported CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/exported/*.cpp)
add_library(tintara_exported_obj OBJECT ${_exported})
target_compile_definitions(tintara_exported_obj PRIVATE TINTARA_BUILDING)
target_link_libraries(tintara_exported_obj PUBLIC tintara_core)

add_library(tintara_static STATIC $<TARGET_OBJECTS:tintara_exported_obj>)
target_link_libraries(tintara_static PUBLIC tintara_core)
target_include_directories(tintara_static PUBLIC ${PROJECT_SOURCE_DIR}/include)

add_library(tintara SHARED $<TARGET_OBJECTS:tintara_exported_obj>)
target_link_libraries(tintara PRIVATE tintara_core)
target_include_directories(tintara PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
set_target_properties(tintara PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_link_options(tintara PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/tintara.map -Wl,--exclude-libs,ALL -Wl,--no-undefined)
set_target_properties(tintara PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/tintara.map)

# The pixel kernels lose about a third of their speed at -O2; keep them at -O3 in every build type.
target_compile_options(tintara_link PRIVATE -O3)
