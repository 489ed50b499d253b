# The version stands in a header, too, which is also used without CMake: both must be the same.

set(version_header ${PROJECT_SOURCE_DIR}/framework/include/zelcommon/version.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
file(READ ${version_header} version_text)
foreach(line
    "MAJOR ${PROJECT_VERSION_MAJOR}"
    "MINOR ${PROJECT_VERSION_MINOR}"
    "PATCH ${PROJECT_VERSION_PATCH}"
    "STRING \"${PROJECT_VERSION}\"")
  string(FIND "${version_text}" "\n#define ZELCOMMON_VERSION_${line}\n" place)
  if(place EQUAL -1)
    message(FATAL_ERROR
      "framework/include/zelcommon/version.h lacks: #define ZELCOMMON_VERSION_${line}")
  endif()
endforeach()
