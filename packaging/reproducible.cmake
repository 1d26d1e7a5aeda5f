# Run by cpack before packing, for reproducible packages: set the directory modes, independently of
# the umask, and set all timestamps to SOURCE_DATE_EPOCH, which tools/make-package sets to the date
# of the last commit.
foreach(tree IN LISTS CPACK_TEMPORARY_DIRECTORY)
    execute_process(COMMAND find ${tree} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND find ${tree} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
