/* Runs a static program one instruction at a time and prints the addresses of the instructions that
   it executes, in order and in hexadecimal, a line each. Its standard output is dropped.

   executed_code COMMAND... */
#include <fcntl.h>
#include <stdio.h>
#include <sys/ptrace.h>
#include <sys/types.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

/* Behind the code of every program of ours, before that of the system (vdso(7)). */
enum { codeEnd = 1 << 26 };

static unsigned char isExecuted[codeEnd];

int main(int argumentCount, char* arguments[]) {
  if (argumentCount < 2) return 1;
  const pid_t process = fork();
  if (process == 0) {
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    ptrace(PTRACE_TRACEME, 0, 0, 0);
    execvp(arguments[1], arguments + 1);
    _exit(1);
  }
  int status;
  while (waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
    struct user_regs_struct registers;
    if (ptrace(PTRACE_GETREGS, process, 0, &registers) != 0) return 1;
    if (registers.rip < codeEnd) isExecuted[registers.rip] = 1;
    if (ptrace(PTRACE_SINGLESTEP, process, 0, 0) != 0) return 1;
  }
  for (unsigned address = 0; address < codeEnd; ++address) {
    if (isExecuted[address]) printf("%x\n", address);
  }
  return !WIFEXITED(status) || WEXITSTATUS(status) != 0;
}
