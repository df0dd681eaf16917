# SPDX-License-Identifier: Apache-2.0
# How this project declares its rooms, tests and fuzz targets.

# Flags for our own code. Generated QML code gets none of the warnings.
add_library(vorn_flags INTERFACE)
target_compile_definitions(vorn_flags INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY)
# No contraction: the drift arithmetic is specified in plain double operations.
target_compile_options(vorn_flags INTERFACE -ffp-contract=off)
if(VORN_SANITIZE)
    target_compile_options(vorn_flags INTERFACE -fsanitize=${VORN_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(vorn_flags INTERFACE -fsanitize=${VORN_SANITIZE})
endif()
if(VORN_FUZZ)
    # Coverage feedback for libFuzzer; the fuzz targets alone link its main.
    target_compile_options(vorn_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_link_options(vorn_flags INTERFACE -fuse-ld=lld)
endif()

add_library(vorn_warnings INTERFACE)
target_compile_options(vorn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(vorn_warnings INTERFACE -Wthread-safety
        # Accessors assert their context themselves, and so hand out references with good reason.
        -Wno-thread-safety-reference-return)
    # libstdc++ 12 itself calls a deprecated function in std::stable_sort.
    target_compile_options(vorn_warnings INTERFACE -Wno-deprecated-declarations)
endif()

# Headers that are compiled once for all: a file takes about 40 % less. One for the program, one for its tests, since
# what is precompiled must have been compiled with the flags of what uses it.
file(WRITE ${CMAKE_BINARY_DIR}/precompiled.cpp "")
function(vorn_add_precompiled name header)
    add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
    target_link_libraries(${name} PRIVATE vorn_flags QCoro6::Core ${ARGN})
    target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/${header})
endfunction()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Else the time of the header's making is in it, and ccache finds nothing twice.
    target_compile_options(vorn_flags INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
endif()
vorn_add_precompiled(vorn_common_headers common_headers.h Qt6::Core)

# A room finds the headers of the rooms that it links, and of theirs: each room is visible through a folder of its own,
# which holds nothing but a link to it. So an include against the direction does not compile.
function(vorn_room_includes target room)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/rooms/${room})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_BINARY_DIR}/rooms/${room}/${room} SYMBOLIC)
    target_include_directories(${target} PUBLIC ${CMAKE_BINARY_DIR}/rooms/${room})
endfunction()

# vorn_declare_room(<room> [FOLDER <folder>] [USES <rooms>])
# Says which rooms the files of a folder use, by default the current one: all of them and no others. The test `rooms`
# holds the includes against it.
function(vorn_declare_room room)
    cmake_parse_arguments(arg "" "FOLDER" "USES" ${ARGN})
    list(JOIN arg_USES " " uses)
    set(line "${CMAKE_CURRENT_SOURCE_DIR}/${arg_FOLDER}\t${room}\t${uses}")
    set_property(GLOBAL APPEND PROPERTY VORN_ROOMS "${line}")
endfunction()

# vorn_add_module(<room> SOURCES <files> [DEPENDS <rooms>] [LIBRARIES <public libraries>] [PRIVATE_LIBRARIES <libraries>]
#     [IN_PARTS])
# With IN_PARTS the folders below it are declared as rooms of their own.
function(vorn_add_module room)
    cmake_parse_arguments(arg "IN_PARTS" "" "SOURCES;DEPENDS;LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
    add_library(vorn_${room} STATIC ${arg_SOURCES})
    set_target_properties(vorn_${room} PROPERTIES AUTOMOC ON)
    target_precompile_headers(vorn_${room} REUSE_FROM vorn_common_headers)
    if(NOT arg_IN_PARTS)
        vorn_declare_room(${room} USES ${arg_DEPENDS})
    endif()
    list(TRANSFORM arg_DEPENDS PREPEND vorn_)
    target_link_libraries(vorn_${room} PUBLIC vorn_flags ${arg_DEPENDS} ${arg_LIBRARIES}
        PRIVATE vorn_warnings ${arg_PRIVATE_LIBRARIES})
    vorn_room_includes(vorn_${room} ${room})
endfunction()

# Registers a test program under the label of the folder it stands in, which the target <folder>_tests builds.
function(vorn_label_test name)
    get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    set_tests_properties(${name} PROPERTIES LABELS ${folder})
    if(NOT TARGET ${folder}_tests)
        add_custom_target(${folder}_tests)
    endif()
    add_dependencies(${folder}_tests ${name})
endfunction()

# vorn_add_test(<name> DEPENDS <rooms> [SOURCES <files>] [LIBRARIES <libraries>] [TIMEOUT <seconds>] [LAB])
# One Qt Test program, <name>.cpp unless SOURCES says otherwise, run as ctest case <name>. With LAB it runs in a
# network of its own (scripts/lab), as whatever listens for cameras or scans must. VORN_TEST_HEADERS names what is
# precompiled for it.
function(vorn_add_test name)
    cmake_parse_arguments(arg "LAB" "TIMEOUT" "SOURCES;DEPENDS;LIBRARIES" ${ARGN})
    if(NOT arg_SOURCES)
        set(arg_SOURCES ${name}.cpp)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 180) # three times what the slowest has needed on a busy machine
    endif()
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    if(VORN_TEST_HEADERS)
        target_precompile_headers(${name} REUSE_FROM ${VORN_TEST_HEADERS})
    endif()
    list(TRANSFORM arg_DEPENDS PREPEND vorn_)
    target_link_libraries(${name} PRIVATE vorn_flags vorn_warnings ${arg_DEPENDS} vorn_test_support Qt6::Test
        ${arg_LIBRARIES})
    if(arg_LAB)
        add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/lab $<TARGET_FILE:${name}>)
    else()
        add_test(NAME ${name} COMMAND ${name})
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;UBSAN_OPTIONS=print_stacktrace=1")
    vorn_label_test(${name})
endfunction()

# vorn_add_fuzz_target(<name> DEPENDS <rooms>)
# <name>.cpp defines LLVMFuzzerTestOneInput. With VORN_FUZZ it becomes a libFuzzer program; otherwise a program
# that replays the files of corpus/<name>, run as ctest case <name>.
function(vorn_add_fuzz_target name)
    cmake_parse_arguments(arg "" "" "DEPENDS" ${ARGN})
    list(TRANSFORM arg_DEPENDS PREPEND vorn_)
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE vorn_flags vorn_warnings ${arg_DEPENDS})
    if(VORN_FUZZ)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    else()
        target_sources(${name} PRIVATE replay.cpp)
        add_test(NAME ${name} COMMAND ${name} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 60)
        vorn_label_test(${name})
    endif()
endfunction()

# vorn_add_benchmark(<name> DEPENDS <rooms> [LIBRARIES <libraries>])
# <name>.cpp, a program that scripts/bench runs.
function(vorn_add_benchmark name)
    cmake_parse_arguments(arg "" "" "DEPENDS;LIBRARIES" ${ARGN})
    list(TRANSFORM arg_DEPENDS PREPEND vorn_)
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE vorn_flags vorn_warnings ${arg_DEPENDS} ${arg_LIBRARIES})
endfunction()
