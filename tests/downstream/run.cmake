function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    string(JOIN " " command ${ARGV})
    message(FATAL_ERROR "failed (${status}): ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/prefix)

# Nothing generic lands in a user's include root.
file(GLOB roots RELATIVE ${WORK_DIR}/prefix/include ${WORK_DIR}/prefix/include/*)
if(NOT roots STREQUAL "kavro;kavro.h")
  message(FATAL_ERROR "the include root holds ${roots}")
endif()

run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${PROJECT_DIR} -B ${WORK_DIR}/build
  -D CMAKE_PREFIX_PATH=${WORK_DIR}/prefix
  -D HEADERS=${WORK_DIR}/prefix/include
  -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -D CMAKE_BUILD_TYPE=${CONFIG}
  -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build --config ${CONFIG} --target check)
