# Warnings, code generation and link options of the whole project, and the two helpers that make
# its libraries.

add_library(zevka_options INTERFACE)
target_compile_features(zevka_options INTERFACE cxx_std_20)
target_include_directories(zevka_options INTERFACE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include")
target_link_libraries(zevka_options INTERFACE Threads::Threads)

target_compile_options(zevka_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual
  -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wformat=2
  -Wdouble-promotion -Wimplicit-fallthrough -Wswitch-enum -Wundef -Wvla -Wmissing-declarations
  -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(zevka_options INTERFACE
    -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast -Wsuggest-override
    # A unique symbol would keep the library from ever being unloaded.
    -fno-gnu-unique)
elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(zevka_options INTERFACE -Wthread-safety -Wunreachable-code -Wcomma)
endif()

if(ZEVKA_SANITIZE)
  target_compile_options(zevka_options INTERFACE
    -fsanitize=${ZEVKA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  target_link_options(zevka_options INTERFACE -fsanitize=${ZEVKA_SANITIZE})
  # Indices and iterators of the standard library are looked at too.
  target_compile_definitions(zevka_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()

if(ZEVKA_COVERAGE)
  target_link_options(zevka_options INTERFACE --coverage)
endif()

# zevka_count_coverage(TARGET): tests themselves are not counted. Counters are atomic, or threads that
# count at the same time would leave figures that gcovr cannot read.
function(zevka_count_coverage target)
  if(ZEVKA_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
  endif()
endfunction()

# zevka_object_library(FOLDER [LOWER_FOLDER...]): every .cpp of FOLDER, able to include the folders named.
function(zevka_object_library folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp" "${PROJECT_SOURCE_DIR}/${folder}/*.h")
  add_library(zevka_${folder} OBJECT ${sources})
  set_target_properties(zevka_${folder} PROPERTIES
    LINKER_LANGUAGE CXX
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(zevka_${folder} PUBLIC zevka_options)
  zevka_count_coverage(zevka_${folder})
  if(NOT ZEVKA_SANITIZE)
    target_compile_options(zevka_${folder} PRIVATE -fstack-protector-strong -fcf-protection)
    target_compile_definitions(zevka_${folder} PRIVATE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
  endif()
endfunction()

# zevka_plugin_library(NAME FOLDER...): the shared library from the object libraries of all folders.
function(zevka_plugin_library name)
  add_library(${name} SHARED)
  set(map "${PROJECT_SOURCE_DIR}/plugin/zevka.map")
  foreach(folder IN LISTS ARGN)
    target_link_libraries(${name} PRIVATE zevka_${folder})
  endforeach()
  # The soname counts breaks of the interface; hosts that load the library ask for it by that name.
  set_target_properties(${name} PROPERTIES
    LINKER_LANGUAGE CXX LINK_DEPENDS "${map}" VERSION "${PROJECT_VERSION}" SOVERSION 1)
  target_link_options(${name} PRIVATE
    "LINKER:--version-script=${map}" LINKER:-z,relro LINKER:-z,now LINKER:--as-needed
    # The A and W forms of an export call this library's own plain form, whatever else the process exports.
    LINKER:-Bsymbolic-functions)
  if(NOT ZEVKA_SANITIZE)
    target_link_options(${name} PRIVATE LINKER:-z,defs
      # Control-flow enforcement: the compilers put landings everywhere, the C library's _init and
      # _fini have none. They do nothing here, so they are not entered, and the marks are true.
      LINKER:-z,ibt LINKER:-z,shstk LINKER:-init=zevka_no_init LINKER:-fini=zevka_no_fini)
  endif()
endfunction()
