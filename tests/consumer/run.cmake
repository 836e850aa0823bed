# Installs the build into a scratch prefix, builds tests/consumer/NullList.cpp there with -O2 once
# through the package config and once through pkg-config, and runs both: each must stop with the
# library's assertion line for `this`, not with a fault.
#
# Inputs: BUILD_DIR, SOURCE_DIR, WORK_DIR, CXX, CXX_FLAGS (the build's own, such as -m32),
# LINK_FLAGS (what the build's libraries need at link time, such as the sanitizer runtimes).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed (${rc}):\n${out}")
    endif()
endfunction()

function(expect_assertion program how)
    execute_process(COMMAND ${program} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT err MATCHES "\\(this\\), function GetCount, file BList, line [0-9]+")
        message(FATAL_ERROR "${how}: no assertion line (exit ${rc}); stderr:\n${err}")
    endif()
    message(STATUS "${how}: ${err}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake-build -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} -O2" -DCMAKE_PREFIX_PATH=${prefix}
    "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
expect_assertion(${WORK_DIR}/cmake-build/null_list "package config")

file(GLOB pcdir ${prefix}/lib*/pkgconfig ${prefix}/lib*/*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
execute_process(COMMAND pkg-config --cflags --libs bkgcolors OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(link UNIX_COMMAND "${LINK_FLAGS}")
separate_arguments(own UNIX_COMMAND "${CXX_FLAGS}")
file(GLOB libdir ${prefix}/lib*/libbkgcolors_base.so*)
list(GET libdir 0 libfile)
get_filename_component(libdir ${libfile} DIRECTORY)
run(${CXX} ${own} -O2 -c ${SOURCE_DIR}/NullList.cpp -o ${WORK_DIR}/null_list_pc.o ${flags})
run(${CXX} ${own} ${WORK_DIR}/null_list_pc.o -o ${WORK_DIR}/null_list_pc ${flags} ${link} -Wl,-rpath,${libdir})
expect_assertion(${WORK_DIR}/null_list_pc "pkg-config")
