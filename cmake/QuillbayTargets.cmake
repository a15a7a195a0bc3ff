# Compiler settings and small helpers that every folder's CMakeLists.txt uses.

add_library(quillbay_options INTERFACE)
target_compile_options(quillbay_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${QUILLBAY_WERROR}>:-Werror>)
# Several sources in one file see each other's names; the release build, one file each but for the tests, is the one
# that warns of them.
target_compile_options(quillbay_options INTERFACE
  $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-shadow;-Wno-subobject-linkage;-Wno-unused-function>)
# g++ 12 sees overlapping copies where texts are joined (its bug 105651).
target_compile_options(quillbay_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# Curves and geometry are compared to the last bit: no fused multiply-add.
target_compile_options(quillbay_options INTERFACE -ffp-contract=off)
if(QUILLBAY_SANITIZE)
  target_compile_options(quillbay_options INTERFACE -fsanitize=${QUILLBAY_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(quillbay_options INTERFACE -fsanitize=${QUILLBAY_SANITIZE})
  # A quarter of such a build is linking.
  find_program(QUILLBAY_LLD ld.lld)
  if(QUILLBAY_LLD)
    target_link_options(quillbay_options INTERFACE -fuse-ld=lld)
  endif()
endif()

if(QUILLBAY_FUZZ)
  set(fuzz_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
  target_compile_options(quillbay_options INTERFACE ${fuzz_sanitizers} -fsanitize=fuzzer-no-link)
  target_link_options(quillbay_options INTERFACE ${fuzz_sanitizers})
endif()

# quillbay_precompiled(NAME LINK TARGET ... HEADERS HEADER ...)
# One precompiled header for all targets that reuse it: making one takes longer than most folders' sources. -Winvalid-pch
# and -Werror tell of a target whose options do not fit it.
function(quillbay_precompiled name)
  cmake_parse_arguments(arg "" "" "LINK;HEADERS" ${ARGN})
  set(source ${PROJECT_BINARY_DIR}/precompiled/${name}.cpp)
  if(NOT EXISTS ${source})
    file(WRITE ${source} "// Holds the precompiled header.\n")
  endif()
  add_library(${name} OBJECT ${source})
  target_link_libraries(${name} PRIVATE ${arg_LINK} quillbay_options)
  target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
endfunction()

# Folders whose library exists in this tree.
function(quillbay_add_folders)
  foreach(folder IN LISTS ARGN)
    if(EXISTS ${PROJECT_SOURCE_DIR}/${folder}/CMakeLists.txt)
      add_subdirectory(${PROJECT_SOURCE_DIR}/${folder})
    endif()
  endforeach()
endfunction()

# quillbay_library(NAME [QT] SOURCES ... [PUBLIC ...] [PRIVATE ...])
# One folder's static library quillbay_NAME with the alias quillbay::NAME. QT switches on moc and uic.
function(quillbay_library name)
  cmake_parse_arguments(arg "QT" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(quillbay_${name} STATIC ${arg_SOURCES})
  add_library(quillbay::${name} ALIAS quillbay_${name})
  target_link_libraries(quillbay_${name} PUBLIC quillbay::platform ${arg_PUBLIC} PRIVATE quillbay_options ${arg_PRIVATE})
  if(arg_QT)
    set_target_properties(quillbay_${name} PROPERTIES AUTOMOC ON AUTOUIC ON
      AUTOUIC_OPTIONS "-tr;quillbay::formText;-include;widgets/form_text.h")
    target_link_libraries(quillbay_${name} PUBLIC Qt6::Widgets)
    target_precompile_headers(quillbay_${name} REUSE_FROM quillbay_qt_headers)
  endif()
endfunction()

# Everything with the label "threads" or "driver" (tests that the system's scanner driver can hang), for the thread
# sanitizer.
if(QUILLBAY_TESTS)
  add_custom_target(threaded-tests)
endif()

# quillbay_test(NAME [QT] SOURCES ... LIBS ... [LABELS ...] [ENVIRONMENT ...])
# One test executable per folder, one CTest entry per GoogleTest case.
function(quillbay_test name)
  cmake_parse_arguments(arg "QT" "" "SOURCES;LIBS;LABELS;ENVIRONMENT" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS unit)  # an empty one would be dropped from the list of properties
  endif()
  if(arg_QT AND NOT "main.cpp" IN_LIST arg_SOURCES)
    list(APPEND arg_SOURCES ${PROJECT_SOURCE_DIR}/tests/support/qt_main.cpp)
  endif()
  add_executable(test_${name} ${arg_SOURCES})
  if(arg_LABELS MATCHES "^(threads|driver)$")
    add_dependencies(threaded-tests test_${name})
  endif()
  target_link_libraries(test_${name} PRIVATE ${arg_LIBS} quillbay_options)
  # Most of a test's compilation is headers: several sources at a time, in every build.
  if(NOT CMAKE_UNITY_BUILD)
    set_target_properties(test_${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  endif()
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  if(arg_QT)
    set_target_properties(test_${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(test_${name} PRIVATE GTest::gtest Qt6::Widgets)
    target_precompile_headers(test_${name} REUSE_FROM quillbay_test_headers)
  else()
    target_link_libraries(test_${name} PRIVATE GTest::gtest_main)
  endif()
  gtest_discover_tests(test_${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${arg_LABELS}" ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${arg_ENVIRONMENT}" TIMEOUT 120)
endfunction()
