# Installs the build into a temporary prefix, then builds and runs a tiny host against it twice:
# through find_package(Tintara) and through pkg-config.
# Arguments: BUILD_DIR, SOURCE_DIR (this folder), WORK_DIR, LIBDIR, CONSUMER_FLAGS (may be empty).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(file include/tintara.h ${LIBDIR}/pkgconfig/tintara.pc ${LIBDIR}/cmake/Tintara/TintaraConfig.cmake
             ${LIBDIR}/cmake/Tintara/TintaraConfigVersion.cmake ${LIBDIR}/libtintara.so)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
# The soname link: libtintara.so -> libtintara.so.0 -> the versioned file.
file(GLOB sonames ${prefix}/${LIBDIR}/libtintara.so.*)
if(NOT sonames)
  message(FATAL_ERROR "no versioned library installed")
endif()

# Through the CMake package.
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake-build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_BUILD_TYPE=Release "-DCMAKE_C_FLAGS=${CONSUMER_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${CONSUMER_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${WORK_DIR}/cmake-build/consumer)

# Through pkg-config.
find_program(PKG_CONFIG pkg-config REQUIRED)
find_program(CC NAMES cc gcc REQUIRED)
run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig ${PKG_CONFIG} --cflags --libs tintara)
string(STRIP "${run_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags} ${CONSUMER_FLAGS}")
run(${CC} ${SOURCE_DIR}/consumer.c ${flags} -o ${WORK_DIR}/pc-consumer)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${WORK_DIR}/pc-consumer)
message(STATUS "installed tree works through find_package and pkg-config")
