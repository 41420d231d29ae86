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

pkg_check_modules(QB_GST REQUIRED IMPORTED_TARGET gstreamer-1.0)
add_library(qb_gstreamer INTERFACE)
target_link_libraries(qb_gstreamer INTERFACE PkgConfig::QB_GST)
