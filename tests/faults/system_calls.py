"""The system calls of a run, and the faults of each."""

import collections
import re

# The errors that each system call of the programs can give, as its manual page lists them; none where
# it fails for wrong arguments only.
ERRORS = {
    "access": "EACCES EIO ELOOP ENAMETOOLONG ENOENT ENOMEM ENOTDIR EROFS ETXTBSY",
    "accept4": "EAGAIN ECONNABORTED EINTR EMFILE ENFILE ENOBUFS ENOMEM EPERM",
    "bind": "EACCES EADDRINUSE EINVAL ELOOP ENAMETOOLONG ENOENT ENOMEM ENOTDIR EROFS",
    "chmod": "EACCES EIO ELOOP ENOENT ENOMEM ENOTDIR EPERM EROFS",
    "clock_gettime": "EINVAL EPERM",
    "close": "EINTR EIO ENOSPC EDQUOT",
    "connect": "EACCES EAGAIN ECONNREFUSED EINTR ENOENT ENOTDIR EPERM EPROTOTYPE ETIMEDOUT",
    "dup": "EBADF EINTR EMFILE",
    "dup2": "EBADF EINTR EMFILE",
    "epoll_create1": "EMFILE ENFILE ENOMEM",
    "eventfd2": "EINVAL EMFILE ENFILE ENODEV ENOMEM",
    "fchmod": "EIO EPERM EROFS",
    "fcntl": "EBADF EINTR EMFILE ENOLCK",
    "flock": "EINTR ENOLCK EWOULDBLOCK",
    "fstat": "EBADF EIO ENOMEM EOVERFLOW",
    "newfstatat": "EACCES EIO ELOOP ENOENT ENOMEM ENOTDIR EOVERFLOW",
    "futex": "",
    "getcwd": "EACCES ENOENT ENOMEM ERANGE",
    "getrandom": "EAGAIN EINTR ENOSYS",
    "getsockopt": "EBADF ENOBUFS ENOMEM ENOPROTOOPT",
    "getuid": "",
    "geteuid": "",
    "getpid": "",
    "gettid": "",
    "listen": "EADDRINUSE EOPNOTSUPP",
    "lstat": "EACCES EIO ELOOP ENOENT ENOMEM ENOTDIR",
    "mkdir": "EACCES EDQUOT EEXIST ENOENT ENOSPC ENOTDIR EROFS",
    "mkdirat": "EACCES EDQUOT EEXIST ENOENT ENOSPC ENOTDIR EROFS",
    "mmap": "EAGAIN ENOMEM",
    "munmap": "ENOMEM",
    "brk": "ENOMEM",
    "open": "EACCES EDQUOT EINTR EIO EISDIR ELOOP EMFILE ENFILE ENOENT ENOMEM ENOSPC EROFS",
    "openat": "EACCES EDQUOT EINTR EIO EISDIR ELOOP EMFILE ENFILE ENOENT ENOMEM ENOSPC EROFS",
    "pipe2": "EMFILE ENFILE",
    "poll": "EINTR ENOMEM EINVAL",
    "ppoll": "EINTR ENOMEM EINVAL",
    "prlimit64": "EPERM",
    "read": "EAGAIN EINTR EIO EISDIR",
    "readlink": "EACCES EIO ELOOP ENOENT ENOMEM ENOTDIR",
    "recvfrom": "EAGAIN ECONNRESET EINTR ENOMEM ENOTCONN",
    "rt_sigaction": "",
    "rt_sigprocmask": "",
    "sendmsg": "EAGAIN ECONNRESET EINTR EMSGSIZE ENOBUFS ENOMEM ENOTCONN EPIPE",
    "sendto": "EAGAIN ECONNRESET EINTR EMSGSIZE ENOBUFS ENOMEM ENOTCONN EPIPE",
    "setsockopt": "EINVAL ENOMEM",
    "shutdown": "ENOTCONN",
    "signalfd4": "EINVAL EMFILE ENFILE ENODEV ENOMEM",
    "sigaltstack": "ENOMEM",
    "socket": "EACCES EMFILE ENFILE ENOBUFS ENOMEM",
    "stat": "EACCES EIO ELOOP ENOENT ENOMEM ENOTDIR",
    "timerfd_create": "EMFILE ENFILE ENOMEM",
    "umask": "",
    "unlink": "EACCES EBUSY EIO ENOENT EPERM EROFS",
    "unlinkat": "EACCES EBUSY EIO ENOENT EPERM EROFS",
    "write": "EAGAIN EDQUOT EFBIG EINTR EIO ENOSPC EPIPE",
    "writev": "EAGAIN EDQUOT EFBIG EINTR EIO ENOSPC EPIPE",
}

# What begins and ends a process: a failure of these is no error that the program could report.
BEYOND_THE_PROGRAM = {"execve", "exit", "exit_group", "rt_sigreturn", "restart_syscall"}

# What the C library's start-up asks for; what stands before the last of these in a run is its own,
# and it ends the process where that fails.
START_UP = {"arch_prctl", "mprotect", "prlimit64", "rseq", "set_robust_list", "set_tid_address"}

# Streams that are never ready, or for ever interrupted, are waited for, as those who set them so ask.
WAITED_FOR = {("write", "EAGAIN"), ("write", "EINTR"), ("writev", "EAGAIN"), ("writev", "EINTR"),
              ("read", "EINTR"), ("open", "EINTR"), ("openat", "EINTR")}

Fault = collections.namedtuple("Fault", "call error number onwards")


def when(fault):
    return f"{fault.number}{'+' if fault.onwards else ''}"


def call_names(trace):
    """The system calls of a trace in order."""
    return re.findall(r"^[0-9]+ +([a-z][a-z0-9_]*)\(", trace, re.MULTILINE)


def system_call_faults(names):
    """Every fault of a run whose system calls are `names`."""
    seen = collections.Counter()
    last_of_start_up = max(index for index, call in enumerate(names) if call in START_UP)
    for index, call in enumerate(names):
        seen[call] += 1
        if index < last_of_start_up or call in START_UP | BEYOND_THE_PROGRAM:
            continue
        if call not in ERRORS:
            raise LookupError(f"{call} has no list of errors")
        for error in ERRORS[call].split():
            yield Fault(call, error, seen[call], False)
            if (call, error) not in WAITED_FOR:
                yield Fault(call, error, seen[call], True)
