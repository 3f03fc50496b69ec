# The installed files besides the programs. The documents go to the documentation directory of Debian's package.
set(QMT_DOCUMENTS_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/qor-mim-tool")

install(TARGETS qor_mim_tool qor_mim_ctl RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})

foreach(program qor_mim_tool qor_mim_ctl)
    install(FILES docs/${program}.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
    install(FILES completions/${program}.bash RENAME ${program}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
    install(FILES completions/_${program} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions)
endforeach()

# Only the operators' pages are installed; the developers' pages are useless without the sources.
install(DIRECTORY docs DESTINATION ${QMT_DOCUMENTS_DIR} FILES_MATCHING PATTERN "*.md" PATTERN development EXCLUDE)
install(DIRECTORY examples/framework DESTINATION ${QMT_DOCUMENTS_DIR}/examples USE_SOURCE_PERMISSIONS)
install(PROGRAMS examples/try DESTINATION ${QMT_DOCUMENTS_DIR}/examples)
