/* Runs several commands in turn, round after round, so that whatever else the machine does meets
   all of them alike. The order is drawn anew in each round, because a run starts with what the one
   before it has left in the caches. Their standard output is dropped.

   interleave ROUNDS -- COMMAND... [-- COMMAND...]...

   Prints a line a run: the command's number, its wall-clock time in nanoseconds, its minor page
   faults, its largest resident set in KiB. A command that fails ends it with status 1. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>

enum { maximumCommands = 16 };

static long long now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

/* Puts the numbers below `count` into an order by chance, the same in each run of this program. */
static void shuffle(int numbers[], int count) {
  for (int i = 0; i < count; ++i) {
    const int other = rand() % (i + 1);
    numbers[i] = i;
    numbers[i] = numbers[other];
    numbers[other] = i;
  }
}

int main(int argumentCount, char* arguments[]) {
  char** commands[maximumCommands];
  int commandCount = 0;
  for (int i = 2; i < argumentCount && commandCount < maximumCommands; ++i) {
    if (strcmp(arguments[i], "--") == 0) {
      arguments[i] = NULL;
      commands[commandCount++] = &arguments[i + 1];
    }
  }
  if (commandCount == 0) return 1;

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  char* const environment[] = {"PATH=/usr/bin:/bin", NULL};

  const long rounds = strtol(arguments[1], NULL, 10);
  for (long round = 0; round < rounds; ++round) {
    int order[maximumCommands];
    shuffle(order, commandCount);
    for (int turn = 0; turn < commandCount; ++turn) {
      const int command = order[turn];
      pid_t process;
      int status;
      struct rusage usage;
      const long long start = now();
      if (posix_spawnp(&process, commands[command][0], &actions, NULL, commands[command],
                       environment) != 0 ||
          wait4(process, &status, 0, &usage) != process || status != 0) {
        fprintf(stderr, "interleave: %s failed\n", commands[command][0]);
        return 1;
      }
      printf("%d %lld %ld %ld\n", command, now() - start, usage.ru_minflt, usage.ru_maxrss);
    }
  }
  return 0;
}
