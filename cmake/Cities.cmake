# The cities layer's extra: the read-only city directory.
#
# The read-only city directory, cities.sqlite: built from Debian's GeoNames data
# (libgeonames-dev) by data/cities/citydirgen.cpp, written beside the tarvo tool in the build
# tree and installed to <prefix>/share/tarvo. The library finds it by the rule in
# CityDirectory.h (an explicit path, TARVO_DIRECTORY, beside the program, the installed
# location, this build tree).
pkg_check_modules(GEONAMES IMPORTED_TARGET geonames)

add_executable(tarvo_citydirgen data/cities/citydirgen.cpp data/cities/GettextCatalog.cpp src/platform/text/Text.cpp)
target_include_directories(tarvo_citydirgen PRIVATE include src)
target_link_libraries(tarvo_citydirgen PRIVATE tarvo_warnings tarvo_fp SQLite::SQLite3 PkgConfig::ICU fmt::fmt)
if(GEONAMES_FOUND)
  target_link_libraries(tarvo_citydirgen PRIVATE PkgConfig::GEONAMES)
  set(TARVO_DIRECTORY_SOURCE --geonames)
elseif(TARVO_GEONAMES_DUMP)
  set(TARVO_DIRECTORY_SOURCE --dump ${TARVO_GEONAMES_DUMP})
else()
  message(FATAL_ERROR "The city directory needs libgeonames-dev (scripts/bootstrap installs it) "
                      "or -DTARVO_GEONAMES_DUMP=path/to/cities15000.txt")
endif()
target_compile_definitions(tarvo_citydirgen PRIVATE TARVO_HAVE_GEONAMES=$<BOOL:${GEONAMES_FOUND}>)

# The cities' names in other languages, for the search: the GeoNames catalogues
# (<folder>/<language>/LC_MESSAGES/geonames.mo) that libgeonames installs.
if(GEONAMES_FOUND AND NOT DEFINED TARVO_GEONAMES_TRANSLATIONS)
  set(TARVO_GEONAMES_TRANSLATIONS ${GEONAMES_PREFIX}/share/locale)
endif()
set(TARVO_GEONAMES_CATALOGUES "")
if(TARVO_GEONAMES_TRANSLATIONS)
  file(GLOB TARVO_GEONAMES_CATALOGUES ${TARVO_GEONAMES_TRANSLATIONS}/*/LC_MESSAGES/geonames.mo)
endif()
if(TARVO_GEONAMES_CATALOGUES)
  list(APPEND TARVO_DIRECTORY_SOURCE --translations ${TARVO_GEONAMES_TRANSLATIONS})
else()
  message(STATUS "No GeoNames translation catalogues: the city search knows each city by its own names only")
endif()

set(TARVO_CITY_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/cities.sqlite)
# GeoNames' own libraries leak by design at exit; that is no fault of the builder.
add_custom_command(OUTPUT ${TARVO_CITY_DIRECTORY}
  COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0 LC_ALL=C --unset=LANGUAGE
          $<TARGET_FILE:tarvo_citydirgen> --out ${TARVO_CITY_DIRECTORY} ${TARVO_DIRECTORY_SOURCE}
  DEPENDS tarvo_citydirgen ${TARVO_GEONAMES_CATALOGUES}
  COMMENT "Building the city directory cities.sqlite" VERBATIM)
add_custom_target(tarvo_city_directory ALL DEPENDS ${TARVO_CITY_DIRECTORY})
add_dependencies(tarvo tarvo_city_directory)
install(FILES ${TARVO_CITY_DIRECTORY} DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvo)

# Where the library looks when neither the host nor TARVO_DIRECTORY names a file: the
# installed file relative to the installed library (so a moved prefix still works), the
# configured prefix, then this build tree.
file(RELATIVE_PATH TARVO_CITY_DIRECTORY_FROM_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR}
     ${CMAKE_INSTALL_FULL_DATADIR}/tarvo/cities.sqlite)
set_property(SOURCE src/cities/CityDirectory.cpp APPEND PROPERTY COMPILE_DEFINITIONS
  TARVO_INSTALLED_CITY_DIRECTORY="${CMAKE_INSTALL_FULL_DATADIR}/tarvo/cities.sqlite"
  TARVO_BUILD_CITY_DIRECTORY="${TARVO_CITY_DIRECTORY}"
  TARVO_CITY_DIRECTORY_FROM_LIBDIR="${TARVO_CITY_DIRECTORY_FROM_LIBDIR}")
