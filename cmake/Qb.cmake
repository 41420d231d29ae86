# One library target a folder.
#
# qb_library(<target> USES <targets it may include and link> LINK <third-party libraries>)
#
# A folder's headers are seen only by the targets that list it under USES: each folder has an include
# root of its own (a link farm in the build tree), and roots are not passed on. So `#include "engine/engine.h"`
# in a target that does not list `engine` does not compile. cmake/CheckLayers.cmake guards what the
# compiler cannot see: relative includes, Irrlicht and operating-system headers in the wrong folder.

add_library(qb_flags INTERFACE)
target_compile_options(qb_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # GCC 12 warns of overlaps inside std::string's own operator+ (its bug 105651).
    target_compile_options(qb_flags INTERFACE -Wno-restrict)
endif()
if(QB_SANITIZE)
    target_compile_options(qb_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                              -fno-omit-frame-pointer -g1)
    target_link_options(qb_flags INTERFACE -fsanitize=address,undefined)
endif()
if(QB_FUZZ)
    # The compiler of every day judges warnings; Clang warns of other things. The checks of pointers that are left to
    # AddressSanitizer and to the sanitized tests would be most of all edges, and never taken.
    target_compile_options(qb_flags INTERFACE -w -O1 -g1 -fno-omit-frame-pointer -fsanitize=address,undefined
                                              -fno-sanitize=null,alignment,pointer-overflow -fno-sanitize-recover=all)
    target_link_options(qb_flags INTERFACE -fsanitize=address,undefined)
endif()

# Puts a link <build>/include/<target>/<folder> -> <source folder> in place and names that root.
function(qb_include_root target folder root)
    set(base ${CMAKE_BINARY_DIR}/include/${target})
    get_filename_component(parent ${base}/${folder} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${folder} ${base}/${folder} SYMBOLIC)
    set(${root} ${base} PARENT_SCOPE)
endfunction()

# Irrlicht's irrXML.h holds constructors `xmlChar<T>()`, which C++20 no longer allows: targets that see Irrlicht are C++17.
function(qb_choose_standard target)
    if("qb_irrlicht" IN_LIST ARGN)
        set_target_properties(${target} PROPERTIES CXX_STANDARD 17)
    endif()
endfunction()

# Headers stand alone: one empty source that includes nothing but the header, compiled by `check_headers`.
add_custom_target(check_headers)
function(qb_check_headers target folder headers links)
    if(NOT headers)
        return()
    endif()
    set(sources)
    foreach(header ${headers})
        get_filename_component(name ${header} NAME)
        set(source ${CMAKE_BINARY_DIR}/headers/${target}/${name}.cpp)
        file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${folder}/${name}\"\n")
        list(APPEND sources ${source})
    endforeach()
    add_library(${target}_headers OBJECT EXCLUDE_FROM_ALL ${sources})
    target_link_libraries(${target}_headers PRIVATE qb_flags ${target} ${links})
    qb_choose_standard(${target}_headers ${links})
    add_dependencies(check_headers ${target}_headers)
endfunction()

add_custom_target(check_layers ALL
    COMMAND ${CMAKE_COMMAND} -DROOT=${CMAKE_SOURCE_DIR} -P ${CMAKE_SOURCE_DIR}/cmake/CheckLayers.cmake
    VERBATIM)

function(qb_library target)
    cmake_parse_arguments(ARG "" "" "USES;LINK" ${ARGN})
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
    qb_include_root(${target} ${folder} root)
    if(NOT sources)
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${root})
        return()
    endif()
    add_library(${target} STATIC ${sources} ${headers})
    # A static library's private links reach the final link line, but not the include paths of its users.
    target_include_directories(${target} PUBLIC ${root})
    target_link_libraries(${target} PRIVATE qb_flags ${ARG_USES} ${ARG_LINK})
    if(QB_FUZZ AND NOT target STREQUAL platform)
        # Not the services below everything: paths and messages are no input, and would only blur the coverage.
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
    qb_choose_standard(${target} ${ARG_LINK})
    qb_check_headers(${target} ${folder} "${headers}" "${ARG_USES};${ARG_LINK}")
endfunction()

function(qb_executable target)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;LINK" ${ARGN})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE qb_flags ${ARG_USES} ${ARG_LINK})
    if(NOT QB_SANITIZE)
        # A packed show brings the C++ run-time along.
        target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
    endif()
    qb_choose_standard(${target} ${ARG_LINK})
endfunction()

# qb_test(<name> SOURCES ... USES ... [FAKES ...] [LINK ...] [DISPLAY] [TIMEOUT seconds] [ENVIRONMENT VAR=value ...])
# One GoogleTest executable, one ctest entry. DISPLAY runs it under a virtual X server of its own. Of the targets under
# FAKES the headers alone are seen: the test defines their functions itself.
function(qb_test name)
    cmake_parse_arguments(ARG "DISPLAY" "TIMEOUT" "SOURCES;USES;FAKES;LINK;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE qb_flags ${ARG_USES} ${ARG_LINK} GTest::gtest GTest::gtest_main)
    if(ARG_FAKES)
        # Ahead of the faked libraries, which other libraries bring along: an object of theirs that is taken for the odd
        # inline function of the standard library would define what the test defines.
        target_link_libraries(${name} PRIVATE stdc++)
    endif()
    foreach(fake ${ARG_FAKES})
        target_include_directories(${name} PRIVATE $<TARGET_PROPERTY:${fake},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    qb_choose_standard(${name} ${ARG_LINK})
    target_compile_definitions(${name} PRIVATE QB_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
                                               QB_BINARY_DIR="${CMAKE_BINARY_DIR}")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(ARG_DISPLAY AND QB_SANITIZE)
        target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/keep_libraries.cpp)
    endif()
    set(run ${name})
    if(ARG_DISPLAY)
        set(run ${CMAKE_SOURCE_DIR}/tools/with_display $<TARGET_FILE:${name}>)
    endif()
    add_test(NAME ${name} COMMAND ${run})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT
        "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;${ARG_ENVIRONMENT}")
endfunction()

# qb_fuzz(<name> [SOURCES ...] [USES ...] [FAKES ...] [LINK ...])
# A function LLVMFuzzerTestOneInput in <name>.cpp (and SOURCES). With QB_FUZZ (Clang only) it becomes a libFuzzer program
# <build>/fuzz/<name>, which ./fuzz runs. Without, it becomes a test that gives it each file of tests/fuzz/corpus/<name>/.
# USES, FAKES and LINK as for qb_test. The coverage that ./fuzz tells counts src/ alone, so sources of src/ that a target
# compiles for itself are instrumented and the target is not.
function(qb_fuzz name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;FAKES;LINK" ${ARGN})
    add_executable(${name} ${name}.cpp ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE qb_flags fuzz_support ${ARG_USES} ${ARG_LINK})
    foreach(fake ${ARG_FAKES})
        target_include_directories(${name} PRIVATE $<TARGET_PROPERTY:${fake},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    qb_choose_standard(${name} ${ARG_LINK})
    if(QB_FUZZ)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        list(FILTER ARG_SOURCES INCLUDE REGEX ^${CMAKE_SOURCE_DIR}/src/)
        set_property(SOURCE ${ARG_SOURCES} PROPERTY COMPILE_OPTIONS -fsanitize=fuzzer-no-link)
        set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
        add_dependencies(fuzz_targets ${name})
        return()
    endif()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${name} COMMAND ${name} ${CMAKE_SOURCE_DIR}/tests/fuzz/corpus/${name})
    set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 120 ENVIRONMENT
        "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0")
endfunction()
