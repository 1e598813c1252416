# split_debug_information(TARGET): moves a program's symbols and debug information into TARGET.debug beside it. The
# program keeps a link with the file's name and checksum, which debuggers follow.
function(split_debug_information target)
    set(debug ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target}.debug)
    # Keeping the dates keeps the link time in the program's header, which would else become the present.
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}> ${debug}
        COMMAND ${CMAKE_STRIP} --preserve-dates --strip-all $<TARGET_FILE:${target}>
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --add-gnu-debuglink=${debug} $<TARGET_FILE:${target}>
        BYPRODUCTS ${debug} VERBATIM)
endfunction()
