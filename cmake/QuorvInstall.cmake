# Install rules: library, headers, pkg-config file and CMake package.
include(GNUInstallDirs)
