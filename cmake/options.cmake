# How every target of the project is compiled and linked.

add_library(zelcommon_options INTERFACE)
target_compile_features(zelcommon_options INTERFACE cxx_std_17)
target_compile_options(zelcommon_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2
  $<IF:$<CXX_COMPILER_ID:GNU>,-Wcast-align=strict,-Wcast-align>
  $<$<BOOL:${ZELCOMMON_WERROR}>:-Werror>
  # Says only that older compilers passed some arguments differently on ARM.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi>
  # Binaries name files relative to the project: the same bytes whatever folder they are built in.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_link_libraries(zelcommon_options INTERFACE Threads::Threads)

if(ZELCOMMON_SANITIZE)
  target_compile_options(zelcommon_options INTERFACE
    -fsanitize=${ZELCOMMON_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zelcommon_options INTERFACE -fsanitize=${ZELCOMMON_SANITIZE})
endif()

if(ZELCOMMON_COVERAGE)
  target_compile_options(zelcommon_options INTERFACE
    --coverage -fprofile-update=atomic -fno-inline)
  target_link_options(zelcommon_options INTERFACE --coverage)
endif()

# How what is shipped is hardened; the tests, which are compiled without optimisation, are not.
add_library(zelcommon_hardening INTERFACE)
if(ZELCOMMON_HARDENED)
  include(CheckCXXCompilerFlag)
  target_compile_definitions(zelcommon_hardening INTERFACE _GLIBCXX_ASSERTIONS)
  target_compile_options(zelcommon_hardening INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong)
  foreach(flag -fstack-clash-protection -fcf-protection) # not for every processor
    string(MAKE_C_IDENTIFIER ZELCOMMON_HAS${flag} known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      target_compile_options(zelcommon_hardening INTERFACE ${flag})
    endif()
  endforeach()
endif()
