# One static library per source folder. Each folder's sources are globbed so that a new
# window is picked up by adding its files; CONFIGURE_DEPENDS re-globs on the next build.
function(tempalia_library name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB _src CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h
       ${CMAKE_CURRENT_SOURCE_DIR}/*.ui ${CMAKE_CURRENT_SOURCE_DIR}/*.qrc)
  add_library(${name} STATIC ${_src})
  # A header added later must reach moc on the next incremental build, not only in a new
  # build folder: the code generator depends on every file of the folder.
  set_property(TARGET ${name} APPEND PROPERTY AUTOGEN_TARGET_DEPENDS ${_src})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  tempalia_warnings(${name})
endfunction()

function(tempalia_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
endfunction()

# Every test program is registered here, headless, with its labels. The store-level
# suites carry the label "store"; scripts/test runs them a second time on PostgreSQL.
function(tempalia_test name)
  cmake_parse_arguments(ARG "" "" "LIBS;LABELS;SOURCES" ${ARGN})
  if(NOT ARG_SOURCES)
    set(ARG_SOURCES ${name}.cpp)
  endif()
  foreach(_s ${ARG_SOURCES})
    if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${_s})
      message(WARNING "test ${name}: ${_s} is missing; the test is not built")
      return()
    endif()
  endforeach()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tempalia_testsupport Qt6::Test ${ARG_LIBS})
  tempalia_warnings(${name})
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES
      LABELS "${ARG_LABELS}"
      ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TEMPALIA_STORE_TOOL=$<TARGET_FILE:tempalia-store>"
      TIMEOUT 900)
endfunction()
