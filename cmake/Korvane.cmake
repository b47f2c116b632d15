# The only two ways in which this project declares targets, and the flags that all of them carry.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

# With paths taken from the source folder, several checkouts share what one of them has compiled.
find_program(KORVANE_CCACHE ccache)
if(KORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=true
        CCACHE_SLOPPINESS=pch_defines,time_macros ${KORVANE_CCACHE})
endif()

# Sixty test programs are linked after each change of base.
find_program(KORVANE_MOLD mold)

# Qt's targets add -fPIC. With a second one, the object files of static libraries that ccache has could
# not be used for shared ones.
set(CMAKE_CXX_COMPILE_OPTIONS_PIC "")

add_library(korvane_flags INTERFACE)
if(KORVANE_MOLD AND NOT CMAKE_BUILD_TYPE STREQUAL Release)
    target_link_options(korvane_flags INTERFACE -fuse-ld=mold)
endif()
target_compile_options(korvane_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${KORVANE_WERROR}>:-Werror>)
target_compile_definitions(korvane_flags INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH QT_STRICT_ITERATORS QT_DISABLE_DEPRECATED_BEFORE=0x060400
    KORVANE_VERSION="${PROJECT_VERSION}"
    # An index or an optional that is out of bounds stops a test at the line that did it.
    $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(KORVANE_SANITIZE)
    target_compile_options(korvane_flags INTERFACE
        -fsanitize=${KORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(korvane_flags INTERFACE -fsanitize=${KORVANE_SANITIZE})
    if(KORVANE_SANITIZE MATCHES thread)
        # GCC 12 takes the moved-from strings of tl::expected for uninitialized there.
        target_compile_options(korvane_flags INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()

# Reading Qt's and QCoro's headers takes more than half of the time for a file. The release build does
# without: it shows a header that is not included where it is used.
option(KORVANE_PCH "Precompile the headers of Qt and the standard library" OFF)
function(korvane_precompile target)
    if(NOT KORVANE_PCH)
        return()
    endif()
    if(target STREQUAL korvane_base)
        target_compile_options(${target} PRIVATE -fpch-preprocess)
        target_precompile_headers(${target} PRIVATE
            <QtCore> <QCoro/QCoroTask> <functional> <memory> <optional> <vector>)
    else()
        target_compile_options(${target} PRIVATE -fpch-preprocess)
        target_precompile_headers(${target} REUSE_FROM korvane_base)
    endif()
endfunction()

# korvane_add_library(board SOURCES a.cpp … LINKS base Qt6::Core …)
#
# One folder of src, one library: static, or shared with BUILD_SHARED_LIBS, which links faster after a
# change of one file. LINKS names folders by their bare name and foreign
# libraries by their target.
function(korvane_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_library(korvane_${name} ${arg_SOURCES})
    target_include_directories(korvane_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(korvane_${name} PUBLIC korvane_flags)
    korvane_link(korvane_${name} PUBLIC ${arg_LINKS})
    # Else each shared library has a macro of its own, and none can use the precompiled headers.
    set_target_properties(korvane_${name} PROPERTIES DEFINE_SYMBOL "")
    korvane_precompile(korvane_${name})
endfunction()

# korvane_add_test(board RawReplResponse [SOURCES extra.cpp …] [LINKS support …] [TIMEOUT 60])
#
# One test class: tests/<folder>/tst_<Class>.cpp becomes the test <folder>.<Class>.
function(korvane_add_test folder class)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "TIMEOUT" "SOURCES;LINKS")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 60)
    endif()
    set(target tst_${class})
    add_executable(${target} tst_${class}.cpp ${arg_SOURCES})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${target} PRIVATE korvane_flags Qt6::Test)
    korvane_link(${target} PRIVATE ${arg_LINKS})
    korvane_precompile(${target})
    add_test(NAME ${folder}.${class} COMMAND ${target})
    set_tests_properties(${folder}.${class} PROPERTIES
        LABELS ${folder}
        TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;KORVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR};${KORVANE_TEST_ENVIRONMENT}")
endfunction()

# Links bare names as this project's folders, the rest as they are.
function(korvane_link target scope)
    foreach(item IN LISTS ARGN)
        if(item MATCHES "^[a-z_]+$")
            target_link_libraries(${target} ${scope} korvane_${item})
        else()
            target_link_libraries(${target} ${scope} ${item})
        endif()
    endforeach()
endfunction()

# GCC's leak and undefined-behavior reports should stop a test, and name what leaked.
if(KORVANE_SANITIZE)
    set(KORVANE_TEST_ENVIRONMENT
        "ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
        "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
        "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks-of-others.txt:print_suppressions=0"
        "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:die_after_fork=0:suppressions=${PROJECT_SOURCE_DIR}/tests/support/races-of-others.txt")
endif()
