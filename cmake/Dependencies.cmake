# Third-party libraries. Static wherever Debian ships the archive, so that a show starts on a machine with a
# desktop's run-time libraries only.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
if(QB_TESTS)
    find_package(GTest REQUIRED)
endif()

function(qb_static_library var name)
    find_library(${var} NAMES lib${name}.a REQUIRED)
endfunction()

qb_static_library(QB_IRRLICHT_A Irrlicht)
qb_static_library(QB_PNG_A png16)
qb_static_library(QB_JPEG_A jpeg)
qb_static_library(QB_BZ2_A bz2)
qb_static_library(QB_Z_A z)
qb_static_library(QB_INIPARSER_A iniparser)
qb_static_library(QB_MSPACK_A mspack)

add_library(qb_zlib INTERFACE)
target_link_libraries(qb_zlib INTERFACE ${QB_Z_A})

add_library(qb_mspack INTERFACE)
target_link_libraries(qb_mspack INTERFACE ${QB_MSPACK_A})
find_path(QB_MSPACK_INCLUDE mspack.h REQUIRED)
target_include_directories(qb_mspack SYSTEM INTERFACE ${QB_MSPACK_INCLUDE})

add_library(qb_png INTERFACE)
target_link_libraries(qb_png INTERFACE ${QB_PNG_A} ${QB_Z_A} m)

add_library(qb_irrlicht INTERFACE)
target_link_libraries(qb_irrlicht INTERFACE ${QB_IRRLICHT_A} GL X11 Xxf86vm ${QB_PNG_A} ${QB_JPEG_A}
                                            ${QB_BZ2_A} ${QB_Z_A})

add_library(qb_iniparser INTERFACE)
target_link_libraries(qb_iniparser INTERFACE ${QB_INIPARSER_A})
find_path(QB_INIPARSER_INCLUDE iniparser.h PATH_SUFFIXES iniparser REQUIRED)
target_include_directories(qb_iniparser SYSTEM INTERFACE ${QB_INIPARSER_INCLUDE})

qb_static_library(QB_FLTK_A fltk)
add_library(qb_fltk INTERFACE)
target_link_libraries(qb_fltk INTERFACE ${QB_FLTK_A} Xrandr Xrender Xcursor Xfixes Xext Xft fontconfig Xinerama X11
                                        Threads::Threads ${CMAKE_DL_LIBS} m)

# Entry points of OpenGL. Its header stands in for <GL/gl.h>.
pkg_check_modules(QB_EPOXY REQUIRED IMPORTED_TARGET epoxy)
add_library(qb_epoxy INTERFACE)
target_link_libraries(qb_epoxy INTERFACE PkgConfig::QB_EPOXY)

pkg_check_modules(QB_GST REQUIRED IMPORTED_TARGET gstreamer-1.0)
add_library(qb_gstreamer INTERFACE)
target_link_libraries(qb_gstreamer INTERFACE PkgConfig::QB_GST)

# The HLSL front end and the GLSL writer of the shader translation. The order is that of their use of one another.
foreach(name glslang MachineIndependent GenericCodeGen OSDependent OGLCompiler HLSL SPIRV SPIRV-Tools-opt SPIRV-Tools
             glslang-default-resource-limits spirv-cross-c spirv-cross-hlsl spirv-cross-msl spirv-cross-cpp
             spirv-cross-reflect spirv-cross-glsl spirv-cross-core)
    string(TOUPPER QB_${name}_A variable)
    qb_static_library(${variable} ${name})
endforeach()
find_path(QB_GLSLANG_INCLUDE glslang/Public/ShaderLang.h REQUIRED)
find_path(QB_SPIRV_CROSS_INCLUDE spirv_cross/spirv_cross_c.h REQUIRED)

add_library(qb_glslang INTERFACE)
target_link_libraries(qb_glslang INTERFACE
    ${QB_SPIRV_A} ${QB_GLSLANG_A} ${QB_HLSL_A} ${QB_MACHINEINDEPENDENT_A} ${QB_HLSL_A} ${QB_GLSLANG_A} ${QB_OGLCOMPILER_A}
    ${QB_OSDEPENDENT_A} ${QB_GENERICCODEGEN_A} ${QB_GLSLANG-DEFAULT-RESOURCE-LIMITS_A} ${QB_SPIRV-TOOLS-OPT_A}
    ${QB_SPIRV-TOOLS_A} Threads::Threads)
target_include_directories(qb_glslang SYSTEM INTERFACE ${QB_GLSLANG_INCLUDE})
target_compile_definitions(qb_glslang INTERFACE ENABLE_HLSL)

add_library(qb_spirv_cross INTERFACE)
target_link_libraries(qb_spirv_cross INTERFACE
    ${QB_SPIRV-CROSS-C_A} ${QB_SPIRV-CROSS-HLSL_A} ${QB_SPIRV-CROSS-MSL_A} ${QB_SPIRV-CROSS-CPP_A}
    ${QB_SPIRV-CROSS-REFLECT_A} ${QB_SPIRV-CROSS-GLSL_A} ${QB_SPIRV-CROSS-CORE_A})
target_include_directories(qb_spirv_cross SYSTEM INTERFACE ${QB_SPIRV_CROSS_INCLUDE})
