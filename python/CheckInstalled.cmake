# Installs the build into a temporary prefix and imports the installed package there, with no
# hint where the library is: it must find the installed one.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE err)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "install failed: ${err}")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env --unset=TINTARA_LIBRARY PYTHONPATH=${WORK_DIR}/prefix/${PACKAGE_DIR}
          PYTHONDONTWRITEBYTECODE=1 ${PYTHON} -c
          "import tintara, tintara._lib as l; t = tintara.Trafo.conversion('Lab', 'XYZ'); print(l.lib._name, t([100, 0, 0]))"
  WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT result EQUAL 0 OR NOT out MATCHES "^${WORK_DIR}/prefix/")
  message(FATAL_ERROR "the installed package did not load the installed library: ${out}${err}")
endif()
message(STATUS "installed package: ${out}")
