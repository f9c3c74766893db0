# tandor_product(TARGET): what is shipped. The product is stripped, and what a debugger wants lies in symbols/ beside bin/. A debugger
# finds it through the link in the product once it stands beside that. With MSVC the linker writes it into a file of its own.
set(TANDOR_SYMBOLS_DIRECTORY ${CMAKE_BINARY_DIR}/symbols)

function(tandor_product target)
    if(MSVC)
        set_target_properties(${target} PROPERTIES PDB_OUTPUT_DIRECTORY ${TANDOR_SYMBOLS_DIRECTORY})
        return()
    endif()
    # Sections that begin on a page of the file are mapped, not copied.
    target_link_options(${target} PRIVATE -Wl,--file-alignment,4096)
    set(product $<TARGET_FILE:${target}>)
    set(symbols ${TANDOR_SYMBOLS_DIRECTORY}/$<TARGET_FILE_NAME:${target}>.debug)
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
        COMMAND ${CMAKE_COMMAND} -E make_directory ${TANDOR_SYMBOLS_DIRECTORY}
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${product} ${symbols}
        COMMAND ${CMAKE_STRIP} --strip-all ${product}
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${symbols} ${product})
endfunction()
