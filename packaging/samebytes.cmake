# Run by cpack on what it is about to pack: the same build gives the same bytes on every day and
# under every umask. The date is that of the last commit, unless SOURCE_DATE_EPOCH names one.
foreach(tree IN LISTS CPACK_TEMPORARY_DIRECTORY)
    execute_process(COMMAND find ${tree} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND find ${tree} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
