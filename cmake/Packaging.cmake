# What an installed program needs beside its two commands (packaging/: desktop entry, icon,
# AppStream metainfo, man pages, copyright, changelog), their install rules, and the Debian
# package CPack builds from those same rules (scripts/package runs `cpack -G DEB`).
include(GNUInstallDirs)

set(TEMPALIA_APP_ID uy.com.novadat.Tempalia)
set(_src ${CMAKE_SOURCE_DIR}/packaging)
set(_out ${CMAKE_BINARY_DIR}/packaging)
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(GZIP_PROGRAM gzip REQUIRED)

# The icon: drawn as SVG, its PNG sizes rendered at build time. The PNGs are also compiled
# into the program, which sets them as the window icon of every window.
set(_generated)
foreach(_size 16 22 24 32 48 64 128 256)
  set(_png ${_out}/icons/${_size}x${_size}/tempalia.png)
  add_custom_command(OUTPUT ${_png}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${_out}/icons/${_size}x${_size}
    COMMAND ${RSVG_CONVERT} --width ${_size} --height ${_size} --output ${_png} ${_src}/tempalia.svg
    DEPENDS ${_src}/tempalia.svg
    COMMENT "Icono de ${_size}x${_size}" VERBATIM)
  list(APPEND _generated ${_png})
  install(FILES ${_png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${_size}x${_size}/apps)
endforeach()
qt_add_resources(tempalia_ui tempalia_icon PREFIX "/icons" BASE ${_out}/icons FILES ${_generated})
install(FILES ${_src}/tempalia.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

# Man pages and the changelog go compressed, as Debian policy asks (gzip -9n: no name, no
# time stamp, so the package is reproducible).
foreach(_file tempalia.1 tempalia-store.1 changelog)
  add_custom_command(OUTPUT ${_out}/${_file}.gz
    COMMAND sh -c "${GZIP_PROGRAM} -9nc '${_src}/${_file}' > '${_out}/${_file}.gz'"
    DEPENDS ${_src}/${_file} VERBATIM)
  list(APPEND _generated ${_out}/${_file}.gz)
endforeach()
add_custom_target(tempalia_packaging_files ALL DEPENDS ${_generated})

# Relocations read-only and bound at start, as Debian builds its programs.
foreach(_program tempalia tempalia-store)
  target_link_options(${_program} PRIVATE "LINKER:-z,relro" "LINKER:-z,now")
endforeach()

install(FILES ${_out}/tempalia.1.gz ${_out}/tempalia-store.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${_src}/${TEMPALIA_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${_src}/${TEMPALIA_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${_src}/copyright ${_out}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tempalia)

# The Debian package: tempalia_<version>_<arch>.deb under /usr. dpkg-shlibdeps finds the
# libraries' packages; the Qt plugins the program loads at run time (the ODBC driver of
# Qt SQL, the X11/Wayland platform plugins) are named by hand, as no linker sees them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tempalia)
set(CPACK_PACKAGE_VENDOR Novadat)
set(CPACK_PACKAGE_CONTACT "Novadat <soporte@novadat.com.uy>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "horas trabajadas por el personal de institutos de enseñanza")
# One line per line of the control file's extended description (at most 80 columns).
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
  "Quronda registra las horas que trabaja el personal de los institutos de"
  "enseñanza: cada funcionario anota sus horas, los jefes de área las controlan"
  "y cierran cada mes, y el administrador mantiene los catálogos, el personal y"
  "los logins. Incluye consultas de presupuesto, estadísticas con gráficos,"
  "informes impresos y exportación a planilla."
  ""
  "La base de datos es un archivo SQLite propio del usuario, creado en el primer"
  "inicio, o una base PostgreSQL compartida, a la que se llega por el origen de"
  "datos ODBC RRHHODBC.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 2)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.novadat.com.uy/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6sql6-odbc, qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libsqliteodbc")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "odbc-postgresql")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
