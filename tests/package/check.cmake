# Installs the build into a scratch prefix, then configures, builds and runs a consumer
# that finds it with find_package(TarvoCore).
function(step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_QUIET)
  if(rc)
    message(FATAL_ERROR "${what} failed")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
step(install ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
step("consumer configure" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix})
step("consumer build" ${CMAKE_COMMAND} --build ${WORK_DIR}/build)
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "consumer printed: ${out}")
if(rc OR NOT out MATCHES "^0\\.1\\.0 0\\.1 05:38")
  message(FATAL_ERROR "consumer run failed: ${out}")
endif()
