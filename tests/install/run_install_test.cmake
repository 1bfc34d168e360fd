# Installs the built library into a fresh prefix, then configures, builds and runs the host
# project of this folder against it. Run by CTest with -P.
foreach(var CORVALE_BUILD_DIR HOST_SOURCE_DIR WORK_DIR CXX_COMPILER GENERATOR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "${var} is not set")
  endif()
endforeach()
if(NOT BUILD_CONFIG)
  set(BUILD_CONFIG Debug)
endif()

set(prefix ${WORK_DIR}/prefix)
set(host_build ${WORK_DIR}/host-build)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/run)

function(run_step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${what} failed (${result})")
  endif()
endfunction()

run_step("install" ${CMAKE_COMMAND} --install ${CORVALE_BUILD_DIR} --prefix ${prefix}
  --config ${BUILD_CONFIG})
foreach(installed include/corvale/xml/xml.h include/corvale/core/host.h bin/corvale)
  if(NOT EXISTS ${prefix}/${installed})
    message(FATAL_ERROR "${installed} was not installed")
  endif()
endforeach()
# The tree's node records, pools and parser are no part of the API.
file(GLOB_RECURSE internal_headers ${prefix}/include/corvale/*/internal/*)
if(internal_headers)
  message(FATAL_ERROR "internal headers were installed: ${internal_headers}")
endif()

run_step("configure the host project" ${CMAKE_COMMAND} -S ${HOST_SOURCE_DIR} -B ${host_build}
  -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=${BUILD_CONFIG}
  -DCMAKE_PREFIX_PATH=${prefix})
run_step("build the host project" ${CMAKE_COMMAND} --build ${host_build} --config ${BUILD_CONFIG})

find_program(app NAMES app PATHS ${host_build} ${host_build}/${BUILD_CONFIG} NO_DEFAULT_PATH
  REQUIRED)
run_step("run the host project" ${app} ${WORK_DIR}/run)
