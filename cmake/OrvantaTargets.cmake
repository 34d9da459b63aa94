# What every target of the house shares: language level, warnings, sanitizers, hidden visibility, export header.

option(ORVANTA_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(ORVANTA_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)

add_library(orvanta_options INTERFACE)
target_compile_features(orvanta_options INTERFACE cxx_std_20)
target_compile_definitions(orvanta_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS)
target_compile_options(orvanta_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wold-style-cast -Wundef
    $<$<BOOL:${ORVANTA_WARNINGS_AS_ERRORS}>:-Werror>)
if(ORVANTA_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# One shared library a room: target NAME, alias Orvanta::ALIAS, headers found as <FOLDER/Header.h>.
function(orvanta_library name alias)
    add_library(${name} SHARED)
    add_library(Orvanta::${alias} ALIAS ${name})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:orvanta_options>)
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${alias})
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    get_filename_component(parent ${CMAKE_CURRENT_SOURCE_DIR} DIRECTORY)
    string(TOUPPER ${name} upper)
    generate_export_header(${name} EXPORT_FILE_NAME generated/${room}/${name}Export.h EXPORT_MACRO_NAME ${upper}_EXPORT)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${parent}>
        $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/generated>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/Orvanta>)
    target_compile_features(${name} PUBLIC cxx_std_20)
endfunction()
