// Files that have no name: nobody else can open them, and the disk is free again when they are closed, even if the
// process was killed.
#pragma once

namespace auspool::platform {

// An open, empty file of that kind, closed on exec, or -1 with errno. The folder is that of the environment's TMPDIR,
// or the first of /var/tmp and /tmp where it can be made: in that order, for /tmp is memory on many systems.
int open_temporary_file() noexcept;

// The two ways to make one in a folder, each -1 with errno where it does not go: without a name from the start, which
// not every file system knows, and with a name that is removed at once.
int open_unnamed_file(const char *folder) noexcept;
int open_removed_file(const char *folder) noexcept;

}  // namespace auspool::platform
