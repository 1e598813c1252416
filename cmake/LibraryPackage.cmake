# The base library as a package for other programs, which find_package(Plinth) finds: Plinth::Plinth, and
# Plinth::PlatformEntry for a program whose entry is WinMain.
include(CMakePackageConfigHelpers)
install(TARGETS Plinth Platform PlatformEntry EXPORT Plinth
    ARCHIVE DESTINATION lib COMPONENT Library
    FILE_SET HEADERS DESTINATION include COMPONENT Library)
install(EXPORT Plinth FILE PlinthConfig.cmake NAMESPACE Plinth:: DESTINATION lib/cmake/Plinth COMPONENT Library)
write_basic_package_version_file(PlinthConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PlinthConfigVersion.cmake DESTINATION lib/cmake/Plinth COMPONENT Library)
