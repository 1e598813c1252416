# CompileOptions: what every target of our own is compiled with.
add_library(CompileOptions INTERFACE)
target_include_directories(CompileOptions INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(CompileOptions INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-align
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef -Wimplicit-fallthrough
    -Wno-missing-field-initializers # designated initializers leave members out on purpose
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>)
if(WIN32)
    # The folder of a build is no input of the program: debug information and texts name files from the root,
    # also where the folder was reached through a link. The compiler runs in the build folder, which has to become
    # the root: relative names count from there. The last map that matches counts.
    file(REAL_PATH ${PROJECT_SOURCE_DIR} real_source)
    file(REAL_PATH ${PROJECT_BINARY_DIR} real_binary)
    target_compile_options(CompileOptions INTERFACE
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${real_source}/="
        "-ffile-prefix-map=${PROJECT_BINARY_DIR}=." "-ffile-prefix-map=${real_binary}=.")
endif()
