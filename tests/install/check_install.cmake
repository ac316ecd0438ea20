# Installs BUILD_DIR into WORK_DIR/prefix, then builds the example host in SOURCE_DIR against it
# with find_package, runs it on EXAMPLES_DIR, and compiles it once more with the flags of the
# pkg-config file.
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

# The installed tool runs from the prefix.
run(${prefix}/bin/ostra-metadata --dir ${EXAMPLES_DIR})

set(expected "15 services, 15 anonymous\nfleet.routes.plan calls \"com.larkspur.fleet.routes.planner\" \"plan\"")
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/host -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host)
run(${WORK_DIR}/host/host ${EXAMPLES_DIR})
if(NOT last_output MATCHES "${expected}")
  message(FATAL_ERROR "unexpected host output: ${last_output}")
endif()

file(GLOB_RECURSE pc_file ${prefix}/*/ostra-metadata-services.pc)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs ostra-metadata-services)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
get_filename_component(libdir "${pc_dir}" DIRECTORY)
run(${CXX} -std=c++17 ${SOURCE_DIR}/main.cc -o ${WORK_DIR}/host-pc ${flags} -Wl,-rpath,${libdir})
run(${WORK_DIR}/host-pc ${EXAMPLES_DIR})
if(NOT last_output MATCHES "${expected}")
  message(FATAL_ERROR "unexpected output of the pkg-config build: ${last_output}")
endif()
