# The processor variants of the library: the same sources, compiled once for each.
#
# n8 runs on every x86-64 processor with SSSE3 and uses nothing newer; v3 is for x86-64-v3 (AVX2). Both shared libraries
# bear the same soname. The v3 one lies in glibc-hwcaps/x86-64-v3 beside the other, where the system's loader finds it
# first on a processor that can run it.
set(RVPCV_VARIANTS n8 v3)
set(RVPCV_FLAGS_n8 -mssse3)
# Highway wants AES for this level, which the level does not promise.
set(RVPCV_FLAGS_v3 -march=x86-64-v3 -DHWY_DISABLE_PCLMUL_AES)
set(RVPCV_SUBDIR_n8 "")
set(RVPCV_SUBDIR_v3 glibc-hwcaps/x86-64-v3/)
# The way from there to the core library.
set(RVPCV_RPATH_n8 "$ORIGIN")
set(RVPCV_RPATH_v3 "$ORIGIN/../..")

set(RVPCV_SONAME 9.0)
set(RVPCV_LIBDIR ${PROJECT_BINARY_DIR}/lib)

# A library names all that it needs, but for the sanitizers' runtime, which the program brings.
if(NOT RVPCV_SANITIZE)
  set(RVPCV_NO_UNDEFINED -Wl,-z,defs)
endif()

# Results must not depend on the compiler's or the processor's taste: no contraction into fused operations, no fast
# math. Nothing here reads errno of a mathematical function or traps on floating-point exceptions.
add_library(rvpcv_build INTERFACE)
target_compile_options(rvpcv_build INTERFACE -ffp-contract=off -fno-math-errno -fno-trapping-math -fno-exceptions
                                             -fno-rtti $<$<CONFIG:Release>:-O3>)
target_include_directories(rvpcv_build INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(rvpcv_build INTERFACE rvpcv_warnings OpenMP::OpenMP_CXX)
# Under the sanitizers Highway's headers check themselves, and its library has what a failed check calls.
if(RVPCV_SANITIZE)
  target_link_libraries(rvpcv_build INTERFACE hwy)
endif()

# rvpcv_<variant>: the shared library. rvpcv_<variant>_static: the same objects for tests of internal operations.
function(rvpcv_add_variant variant)
  add_library(rvpcv_${variant}_objects OBJECT ${ARGN})
  target_compile_options(rvpcv_${variant}_objects PRIVATE ${RVPCV_FLAGS_${variant}})
  target_link_libraries(rvpcv_${variant}_objects PUBLIC rvpcv_build rvpcore)

  if(NOT variant STREQUAL n8)
    # Tools that read the compile commands need to see each source once.
    set_target_properties(rvpcv_${variant}_objects PROPERTIES EXPORT_COMPILE_COMMANDS OFF)
  endif()

  add_library(rvpcv_${variant}_static STATIC)
  target_link_libraries(rvpcv_${variant}_static PUBLIC rvpcv_${variant}_objects)

  add_library(rvpcv_${variant} SHARED)
  target_link_libraries(rvpcv_${variant} PRIVATE rvpcv_${variant}_objects PUBLIC rvpcore)
  target_include_directories(rvpcv_${variant} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                                        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set(map ${PROJECT_SOURCE_DIR}/cmake/rvpcv.map)
  target_link_options(rvpcv_${variant} PRIVATE -Wl,--version-script=${map} -Wl,--as-needed ${RVPCV_NO_UNDEFINED})
  set_target_properties(
    rvpcv_${variant}
    PROPERTIES OUTPUT_NAME rvpcvn8
               VERSION ${RVPCV_SONAME}
               SOVERSION ${RVPCV_SONAME}
               LINK_DEPENDS ${map}
               LIBRARY_OUTPUT_DIRECTORY ${RVPCV_LIBDIR}/${RVPCV_SUBDIR_${variant}}
               INSTALL_RPATH "${RVPCV_RPATH_${variant}}"
               BUILD_WITH_INSTALL_RPATH ON)
endfunction()
