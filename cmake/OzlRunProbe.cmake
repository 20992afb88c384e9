# Test programs must run on the build host. The probe builds a trivial program
# with the project's compiler and flags and runs it. Where the kernel cannot
# run it (a 32-bit x86 build on a host without 32-bit support), the programs
# run under qemu user-mode emulation instead: CMAKE_CROSSCOMPILING_EMULATOR,
# which add_test and gtest_discover_tests honour. If neither works the
# configuration stops, so no test is ever dropped silently.
if(CMAKE_CROSSCOMPILING OR CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()

set(probe_dir ${CMAKE_BINARY_DIR}/run-probe)
file(WRITE ${probe_dir}/probe.c "int main(void) { return 0; }\n")
try_compile(ozl_probe_built ${probe_dir}/build ${probe_dir}/probe.c
            COPY_FILE ${probe_dir}/probe OUTPUT_VARIABLE probe_output)
if(NOT ozl_probe_built)
  message(FATAL_ERROR "Cannot build a trivial program with this compiler:\n${probe_output}")
endif()

execute_process(COMMAND ${probe_dir}/probe RESULT_VARIABLE probe_native
                OUTPUT_QUIET ERROR_QUIET)
if(probe_native STREQUAL "0")
  return()
endif()

if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i.86|x86)$")
  find_program(OZL_QEMU_I386 NAMES qemu-i386 qemu-i386-static)
  if(NOT OZL_QEMU_I386)
    message(FATAL_ERROR "This host cannot run 32-bit x86 programs (${probe_native}) and "
            "qemu-i386 is not installed: install qemu-user to run the 32-bit tests.")
  endif()
  execute_process(COMMAND ${OZL_QEMU_I386} ${probe_dir}/probe RESULT_VARIABLE probe_emulated
                  OUTPUT_QUIET ERROR_QUIET)
  if(NOT probe_emulated STREQUAL "0")
    message(FATAL_ERROR "32-bit x86 programs run neither natively (${probe_native}) nor "
            "under ${OZL_QEMU_I386} (${probe_emulated}).")
  endif()
  message(STATUS "This host cannot run 32-bit programs: the tests run under ${OZL_QEMU_I386}")
  set(CMAKE_CROSSCOMPILING_EMULATOR ${OZL_QEMU_I386})
  return()
endif()

message(FATAL_ERROR "The test programs of this configuration cannot run on this host "
        "(${probe_native}); turn OZL_BUILD_TESTS off or give CMAKE_CROSSCOMPILING_EMULATOR.")
