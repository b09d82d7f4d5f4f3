# Finds FFTW 3 in double precision.
#
#   FFTW3::fftw3         the library as the system prefers it
#   FFTW3::fftw3_static  the static archive, where there is one: what a host module carries along, so
#                        that it cannot clash with the copy the host has loaded
find_path(FFTW3_INCLUDE_DIR fftw3.h)
find_library(FFTW3_LIBRARY fftw3)
find_library(FFTW3_STATIC_LIBRARY NAMES libfftw3.a)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(FFTW3 REQUIRED_VARS FFTW3_LIBRARY FFTW3_INCLUDE_DIR)

if(FFTW3_FOUND AND NOT TARGET FFTW3::fftw3)
  add_library(FFTW3::fftw3 UNKNOWN IMPORTED)
  set_target_properties(FFTW3::fftw3 PROPERTIES
    IMPORTED_LOCATION ${FFTW3_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${FFTW3_INCLUDE_DIR})
endif()
if(FFTW3_FOUND AND FFTW3_STATIC_LIBRARY AND NOT TARGET FFTW3::fftw3_static)
  add_library(FFTW3::fftw3_static STATIC IMPORTED)
  set_target_properties(FFTW3::fftw3_static PROPERTIES
    IMPORTED_LOCATION ${FFTW3_STATIC_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${FFTW3_INCLUDE_DIR})
endif()
mark_as_advanced(FFTW3_INCLUDE_DIR FFTW3_LIBRARY FFTW3_STATIC_LIBRARY)
