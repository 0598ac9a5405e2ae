# What `cmake --install` lays out, as an outside project expects it:
#   lib/libpalm.so.0 (and its links), include/palm/<folder>/<header>.h,
#   lib/cmake/palm/palmConfig.cmake exporting palm::palm, lib/pkgconfig/palm.pc,
#   bin/palm, share/java/palm.jar.
include(CMakePackageConfigHelpers)

install(TARGETS palm EXPORT palmTargets
  LIBRARY DESTINATION lib
  INCLUDES DESTINATION include)

# Headers live beside their sources. Every header is public unless it is an
# internal helper of its subsystem: the server's store and workers (reached
# through the C functions), the matcher's counters, the filters' SIMD and
# fixed-point pieces, tables and rounding, the JNI string helpers, the
# steps of the calibration behind i_calib_calc.
set(PALM_PRIVATE_HEADER_REGEX
  "^recognition/"
  "^service/cx_string\\.h$"
  "^matching/(feature_match|match_[a-z_0-9]+)\\.h$"
  "^extraction/(anigauss[a-z_0-9]*|fixed_point|feature_extract)\\.h$"
  "^feature/(base64_alphabet|base64_decode|feature_block_pool)\\.h$"
  "^image/palm_tables\\.h$"
  "^localisation/rounding\\.h$"
  "^workflow/(depth_first_search|enroll_debug_log)\\.h$"
  "^calibration/(lm_optimize|board_extraction|calib_estimation)\\.h$"
  "(avx2|avx512|popcnt|sse2)[a-z_0-9]*\\.h$")
file(GLOB_RECURSE PALM_ALL_HEADERS RELATIVE ${PROJECT_SOURCE_DIR}/src CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/src/*.h)
set(PALM_PUBLIC_HEADERS "")
foreach(header ${PALM_ALL_HEADERS})
  set(private FALSE)
  foreach(pattern ${PALM_PRIVATE_HEADER_REGEX})
    if(header MATCHES "${pattern}")
      set(private TRUE)
    endif()
  endforeach()
  if(NOT private)
    list(APPEND PALM_PUBLIC_HEADERS ${header})
    get_filename_component(dir ${header} DIRECTORY)
    install(FILES src/${header} DESTINATION include/palm/${dir})
  endif()
endforeach()
# The list is written into the build tree so that CI can compile each
# installed header on its own.
string(REPLACE ";" "\n" PALM_PUBLIC_HEADER_LINES "${PALM_PUBLIC_HEADERS}")
file(WRITE ${PROJECT_BINARY_DIR}/public_headers.txt "${PALM_PUBLIC_HEADER_LINES}\n")

install(EXPORT palmTargets NAMESPACE palm:: DESTINATION lib/cmake/palm)
configure_package_config_file(cmake/palmConfig.cmake.in
  ${PROJECT_BINARY_DIR}/palmConfig.cmake
  INSTALL_DESTINATION lib/cmake/palm)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/palmConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/palmConfig.cmake ${PROJECT_BINARY_DIR}/palmConfigVersion.cmake
  DESTINATION lib/cmake/palm)

configure_file(cmake/palm.pc.in ${PROJECT_BINARY_DIR}/palm.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/palm.pc DESTINATION lib/pkgconfig)

include(cmake/packaging.cmake)
