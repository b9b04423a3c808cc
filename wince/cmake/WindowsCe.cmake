# Building for the phone: the cross tools, units, import libraries and images. Every step is a command of its own, so a
# build repeats only what changed.

set(BRELIX_CROSS_DIR "${CMAKE_SOURCE_DIR}/build/cross" CACHE PATH
    "Where the cross tools are kept, by version; all build folders can share it")

function(wince_require program package)
  find_program(WINCE_${program} ${program})
  if(NOT WINCE_${program})
    message(FATAL_ERROR "The phone's files need ${program}, which is missing: apt-get install ${package} "
                        "(wince/packages.txt lists all; -DBRELIX_PHONE=OFF builds without the phone's files)")
  endif()
endfunction()

wince_require(arm-none-eabi-g++ gcc-arm-none-eabi)
wince_require(arm-linux-gnueabi-g++ g++-arm-linux-gnueabi)
wince_require(qemu-arm qemu-user)
execute_process(COMMAND dpkg-query -W -f "\${Version}" binutils-source
                OUTPUT_VARIABLE WINCE_BINUTILS_VERSION ERROR_QUIET RESULT_VARIABLE missing)
if(missing OR NOT WINCE_BINUTILS_VERSION)
  message(FATAL_ERROR "The phone's files need binutils-source, which is missing: apt-get install binutils-source "
                      "(wince/packages.txt lists all; -DBRELIX_PHONE=OFF builds without the phone's files)")
endif()

set(WINCE_TOOLCHAIN ${CMAKE_CURRENT_SOURCE_DIR}/toolchain)
set(WINCE_BINUTILS ${BRELIX_CROSS_DIR}/binutils-${WINCE_BINUTILS_VERSION})
set(WINCE_LINKER ${WINCE_BINUTILS}/bin/arm-wince-pe-ld)
set(WINCE_ARMEL ${BRELIX_CROSS_DIR}/armel)

add_custom_command(OUTPUT ${WINCE_LINKER}
  COMMAND ${WINCE_TOOLCHAIN}/build-binutils ${BRELIX_CROSS_DIR}
  COMMENT "Cross tools for Windows CE" USES_TERMINAL VERBATIM)
add_custom_command(OUTPUT ${WINCE_ARMEL}/packages.txt
  COMMAND ${WINCE_TOOLCHAIN}/fetch-armel ${BRELIX_CROSS_DIR}
  DEPENDS ${WINCE_TOOLCHAIN}/fetch-armel ${CMAKE_CURRENT_SOURCE_DIR}/armel-packages.txt
  COMMENT "Libraries for 32-bit ARM" VERBATIM)
# One target, so that two images built side by side do not both make the tools.
add_custom_target(wince_tools DEPENDS ${WINCE_LINKER} ${WINCE_ARMEL}/packages.txt)

# wince_objects(<variable> <folder> SOURCES <file>... [FLAGS <flag>...]): units for the phone, below <folder>.
function(wince_objects variable folder)
  cmake_parse_arguments(arg "" "" "SOURCES;FLAGS" ${ARGN})
  set(objects)
  foreach(source IN LISTS arg_SOURCES)
    file(RELATIVE_PATH unit ${CMAKE_SOURCE_DIR} ${source})
    set(object ${folder}/${unit}.o)
    add_custom_command(OUTPUT ${object}
      COMMAND ${WINCE_TOOLCHAIN}/compile-unit ${WINCE_BINUTILS} ${source} ${object} -I${CMAKE_SOURCE_DIR} ${arg_FLAGS}
      DEPENDS ${source} ${WINCE_TOOLCHAIN}/compile-unit ${WINCE_TOOLCHAIN}/elf-to-pe.awk ${WINCE_LINKER}
      DEPFILE ${object}.d
      COMMENT "Phone: ${unit}" VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  set(${variable} ${objects} PARENT_SCOPE)
endfunction()

# wince_import_library(<variable> <file.def> <library.a>)
function(wince_import_library variable definitions library)
  add_custom_command(OUTPUT ${library}
    COMMAND ${WINCE_TOOLCHAIN}/make-import-library ${WINCE_BINUTILS} ${definitions} ${library}
    DEPENDS ${definitions} ${WINCE_TOOLCHAIN}/make-import-library ${WINCE_LINKER}
    VERBATIM)
  set(${variable} ${library} PARENT_SCOPE)
endfunction()

# wince_exports(<file.def> <map> <library.dll> <object>...): the linker's export list.
function(wince_exports definitions map library)
  add_custom_command(OUTPUT ${definitions}
    COMMAND ${WINCE_TOOLCHAIN}/derive-exports ${WINCE_BINUTILS} ${map} ${library} ${ARGN} > ${definitions}.part
    COMMAND ${CMAKE_COMMAND} -E rename ${definitions}.part ${definitions}
    DEPENDS ${map} ${ARGN} ${WINCE_TOOLCHAIN}/derive-exports
    VERBATIM)
endfunction()

# wince_image(<image> <entry> <base> <input>...): a library (--dll among the inputs) or a program.
function(wince_image image entry base)
  set(files ${ARGN})
  list(REMOVE_ITEM files --dll)
  add_custom_command(OUTPUT ${image} ${image}.sym
    COMMAND ${WINCE_TOOLCHAIN}/link-image ${WINCE_BINUTILS} ${image} ${entry} ${base} ${ARGN}
    DEPENDS ${files} ${WINCE_TOOLCHAIN}/link-image
    COMMENT "Phone: ${image}" VERBATIM)
endfunction()

# wince_linux_arm_program(<program> SOURCES <file>... [INCLUDES <folder>...] [DEFINES <name>...] [LIBRARIES <library>...]):
# a program for 32-bit ARM Linux, which runs here under qemu-arm.
function(wince_linux_arm_program program)
  cmake_parse_arguments(arg "" "" "SOURCES;INCLUDES;DEFINES;LIBRARIES;DEPENDS" ${ARGN})
  list(TRANSFORM arg_INCLUDES PREPEND -I)
  list(TRANSFORM arg_DEFINES PREPEND -D)
  set(objects)
  foreach(source IN LISTS arg_SOURCES)
    file(RELATIVE_PATH unit ${CMAKE_SOURCE_DIR} ${source})
    set(object ${program}.units/${unit}.o)
    get_filename_component(folder ${object} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${object}
      COMMAND ${WINCE_arm-linux-gnueabi-g++} -std=c++20 -O1 -g1 -march=armv5te -marm -Wall -Wextra -Wno-psabi
              -Wno-dangling-pointer -Werror ${arg_DEFINES} -I${CMAKE_SOURCE_DIR} ${arg_INCLUDES}
              -isystem ${WINCE_ARMEL}/usr/include -isystem ${WINCE_ARMEL}/usr/include/arm-linux-gnueabi
              -MD -MF ${object}.d -MT ${object} -c ${source} -o ${object}
      DEPENDS ${source} ${WINCE_ARMEL}/packages.txt ${arg_DEPENDS}
      DEPFILE ${object}.d
      COMMENT "32-bit ARM: ${unit}" VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  add_custom_command(OUTPUT ${program}
    COMMAND ${WINCE_arm-linux-gnueabi-g++} -static -pthread ${objects}
            -L${WINCE_ARMEL}/usr/lib/arm-linux-gnueabi ${arg_LIBRARIES} -o ${program}
    DEPENDS ${objects}
    COMMENT "32-bit ARM: ${program}" VERBATIM)
endfunction()
