# cmake -DROOT=<top of the tree> -P CheckLayers.cmake
#
# Guards what include roots can not: relative includes that reach into another folder, Irrlicht outside the folders that
# draw, and the operating system outside src/platform.
set(irrlicht_folders "shell|scene/runtime|materials|render|engine")
set(system_headers "unistd|fcntl|dlfcn|dirent|pthread|poll|pwd|spawn|termios|windows|shellapi|commdlg|sys/[a-z]+|X11/[A-Za-z]+|FL/[A-Za-z_]+|gst/[a-z]+")
set(failures 0)

macro(refuse path why)
    message("${path}: ${why}")
    math(EXPR failures "${failures} + 1")
endmacro()

file(GLOB_RECURSE files RELATIVE ${ROOT}/src ${ROOT}/src/*.cpp ${ROOT}/src/*.h)
foreach(path ${files})
    file(READ ${ROOT}/src/${path} text)
    if(text MATCHES "#[ \t]*include[ \t]*\"\\.\\.")
        refuse(${path} "includes another folder by a relative path")
    endif()
    if(text MATCHES "#[ \t]*include[ \t]*[<\"]irrlicht[/.]" AND NOT path MATCHES "^(${irrlicht_folders})/")
        refuse(${path} "sees Irrlicht")
    endif()
    if(NOT path MATCHES "^platform/")
        if(text MATCHES "#[ \t]*include[ \t]*<(${system_headers})\\.h>")
            refuse(${path} "includes the system header ${CMAKE_MATCH_1}.h")
        endif()
        if(text MATCHES "_WIN32|__linux__")
            refuse(${path} "asks which system it runs on")
        endif()
    endif()
endforeach()

list(LENGTH files count)
if(failures GREATER 0)
    message(FATAL_ERROR "${failures} of ${count} files reach past their layer")
endif()
message("${count} files keep to their layers")
