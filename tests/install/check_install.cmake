# Installs BUILD_DIR into WORK_DIR/prefix, then builds the consumer in SOURCE_DIR against it with
# find_package, runs it, and compiles it once more with the flags of the pkg-config file.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(header ostra/core.h ostra/std_bindings.h ostra/metadata_services.h)
  if(NOT EXISTS ${prefix}/include/${header})
    message(FATAL_ERROR "missing installed header ${header}")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/consumer)
if(NOT last_output MATCHES "cbf43926 ostra.metada.cli.source.not.found Cli source not found: src1")
  message(FATAL_ERROR "unexpected consumer output: ${last_output}")
endif()

file(GLOB_RECURSE pc_file ${prefix}/*/ostra-metadata-services.pc)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs ostra-metadata-services)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
get_filename_component(libdir "${pc_dir}" DIRECTORY)
run(${CXX} ${SOURCE_DIR}/main.cc -o ${WORK_DIR}/consumer-pc ${flags} -Wl,-rpath,${libdir})
run(${WORK_DIR}/consumer-pc)
