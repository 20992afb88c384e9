# Installs the library from BUILD_DIR into a scratch prefix under WORK_DIR, then
# builds the consumer in SOURCE_DIR against it twice: as a CMake project through
# find_package(ozl), and by a plain compiler run with the flags pkg-config gives.
# Both programs are run, and the installed ozl command where it is built.
foreach(var BUILD_DIR SOURCE_DIR WORK_DIR C_COMPILER PKG_CONFIG GENERATOR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "run_package_test.cmake: ${var} is not set")
  endif()
endforeach()
if(NOT BUILD_TYPE)
  set(BUILD_TYPE Release)
endif()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " cmd "${ARGN}")
    message(FATAL_ERROR "failed (${rc}): ${cmd}")
  endif()
endfunction()

message(STATUS "install into ${prefix}")
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The installed library and its pkg-config file; the library directory depends
# on the platform's conventions.
file(GLOB_RECURSE pc_files ${prefix}/*/ozl.pc)
list(LENGTH pc_files n)
if(NOT n EQUAL 1)
  message(FATAL_ERROR "expected one installed ozl.pc, found: ${pc_files}")
endif()
get_filename_component(pc_dir ${pc_files} DIRECTORY)
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
if(NOT EXISTS ${prefix}/include/ozl.h)
  message(FATAL_ERROR "ozl.h was not installed into ${prefix}/include")
endif()

# The ozl command, installed with the library, finds it through its rpath.
if(EXPECT_TOOL)
  if(NOT EXISTS ${prefix}/bin/ozl)
    message(FATAL_ERROR "the ozl command was not installed into ${prefix}/bin")
  endif()
  message(STATUS "installed ozl command")
  run(${prefix}/bin/ozl --version)
  run(${prefix}/bin/ozl pattern --size 32x24 ${WORK_DIR}/pattern.png)
endif()

message(STATUS "find_package(ozl) consumer")
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake-build -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_C_COMPILER=${C_COMPILER}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/ozl_consumer)

message(STATUS "pkg-config consumer")
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ozl
                OUTPUT_VARIABLE pc_flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config --cflags --libs ozl failed (${rc})")
endif()
message(STATUS "pkg-config --cflags --libs ozl: ${pc_flags}")
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run(${C_COMPILER} -std=c99 -Wall -Wextra -pedantic -Werror ${SOURCE_DIR}/main.c ${pc_flags}
    -o ${WORK_DIR}/ozl_consumer_pc)
set(ENV{LD_LIBRARY_PATH} ${lib_dir})
run(${WORK_DIR}/ozl_consumer_pc)
