# What an installation consists of besides the program. The documents go where Debian's package of the same name has them.
set(QMT_DOCUMENTS_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/qor-mim-tool")

install(TARGETS qor_mim_tool RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})

install(FILES docs/qor_mim_tool.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES completions/qor_mim_tool.bash RENAME qor_mim_tool
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
install(FILES completions/_qor_mim_tool DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions)

# Operators get their pages; those of developers are of no use without the sources.
install(DIRECTORY docs DESTINATION ${QMT_DOCUMENTS_DIR} FILES_MATCHING PATTERN "*.md" PATTERN development EXCLUDE)
install(DIRECTORY examples/framework DESTINATION ${QMT_DOCUMENTS_DIR}/examples USE_SOURCE_PERMISSIONS)
install(PROGRAMS examples/try DESTINATION ${QMT_DOCUMENTS_DIR}/examples)
