# What an installation holds: the library with the headers that plug-ins may include, qf, and the CMake package. The
# sample plug-ins say themselves where they go. Components: library, tools, plugins, development.
include(CMakePackageConfigHelpers)

set(QF_INSTALLED_HEADERS "${CMAKE_INSTALL_INCLUDEDIR}/QFPluginUtilities")
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/QFPluginUtilities")

# Answers the headers, as paths below the library's folder, that show something to plug-ins, and those that they
# include.
function(qf_public_headers result)
    set(folder "${PROJECT_SOURCE_DIR}/QFPluginUtilities")
    set(left plugin/QFPluginAPI.h)
    foreach(layer IN ITEMS platform text messaging media export plugin linenumbering editing)
        file(GLOB headers RELATIVE "${folder}" CONFIGURE_DEPENDS "${folder}/${layer}/*.h")
        foreach(header IN LISTS headers)
            file(STRINGS "${folder}/${header}" shown REGEX "QF_EXPORT" LIMIT_COUNT 1)
            if(shown)
                list(APPEND left "${header}")
            endif()
        endforeach()
    endforeach()
    set(found)
    while(left)
        list(POP_FRONT left header)
        if(header IN_LIST found)
            continue()
        endif()
        list(APPEND found "${header}")
        file(STRINGS "${folder}/${header}" includes REGEX "^#include \"")
        foreach(include IN LISTS includes)
            string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" include "${include}")
            list(APPEND left "${include}")
        endforeach()
    endwhile()
    set(${result} "${found}" PARENT_SCOPE)
endfunction()

install(TARGETS QFPluginUtilities EXPORT QFPluginUtilitiesTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS qf EXPORT QFPluginUtilitiesTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
file(RELATIVE_PATH libraries_from_programs "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set_target_properties(qf PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")

qf_public_headers(public_headers)
foreach(header IN LISTS public_headers)
    cmake_path(GET header PARENT_PATH layer)
    install(FILES "QFPluginUtilities/${header}" DESTINATION "${QF_INSTALLED_HEADERS}/${layer}" COMPONENT development)
endforeach()

install(EXPORT QFPluginUtilitiesTargets NAMESPACE QFPluginUtilities:: DESTINATION "${package_folder}"
    COMPONENT development)
configure_package_config_file(cmake/QFPluginUtilitiesConfig.cmake.in QFPluginUtilitiesConfig.cmake
    INSTALL_DESTINATION "${package_folder}" PATH_VARS QF_INSTALLED_HEADERS)
write_basic_package_version_file(QFPluginUtilitiesConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/QFPluginUtilitiesConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/QFPluginUtilitiesConfigVersion.cmake"
    cmake/QFPagePlugin.cmake
    DESTINATION "${package_folder}" COMPONENT development)
