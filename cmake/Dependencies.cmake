# Public libraries, all Debian 12 packages (scripts/install-dependencies).
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Protobuf REQUIRED)
find_package(fmt REQUIRED)
pkg_check_modules(LIBYANG REQUIRED IMPORTED_TARGET libyang>=2.0)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
find_package(CLI11 REQUIRED)
