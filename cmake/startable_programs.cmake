# aaa_startable_programs(RESULT TARGET...): the directory from which a test can start the programs
# of these targets: their own or, where they are built for another machine, one of scripts that run
# them under the emulator. The kernel need not know how to run a foreign program then.
function(aaa_startable_programs result)
  list(GET ARGN 0 first)
  set(directory $<TARGET_FILE_DIR:${first}>)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(directory ${PROJECT_BINARY_DIR}/emulated)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    foreach(program IN LISTS ARGN)
      file(GENERATE OUTPUT ${directory}/$<TARGET_FILE_NAME:${program}>
        CONTENT "#!/bin/sh\nexec ${emulator} $<TARGET_FILE:${program}> \"$@\"\n"
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    endforeach()
  endif()
  set(${result} ${directory} PARENT_SCOPE)
endfunction()
