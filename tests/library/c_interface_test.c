/*
 * The C interface against the development helper, in C. Ends with 0 when everything holds.
 */
#define _GNU_SOURCE /* memfd_create */
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "blindfold/library/blindfold.h"

static int failures = 0;

#define EXPECT(condition)                                                     \
  do {                                                                        \
    if (!(condition)) {                                                       \
      fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      ++failures;                                                             \
    }                                                                         \
  } while (false)

static const char helper[] = BLINDFOLD_DEVHELPER;
static const char service[] = BLINDFOLD_SERVICE;

/* Starts the helper with this script and returns its process once it listens. */
static pid_t startHelper(const char* script) {
  /* A file in memory, which the helper inherits and opens by this path. */
  const int file = memfd_create("script", 0);
  if (file < 0 || write(file, script, strlen(script)) != (ssize_t)strlen(script)) abort();
  char path[32];
  snprintf(path, sizeof path, "/proc/self/fd/%d", file);
  int ends[2];
  if (pipe(ends) != 0) abort();
  const pid_t test = getpid();
  const pid_t process = fork();
  if (process < 0) abort();
  if (process == 0) {
    /* It ends with the test, however that ends. */
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != test) _exit(127);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    execl(helper, helper, "--service", service, "--script", path, (char*)NULL);
    _exit(127);
  }
  close(ends[1]);
  char ready[6];
  size_t count = 0;
  while (count < sizeof ready) {
    const ssize_t part = read(ends[0], ready + count, sizeof ready - count);
    if (part <= 0) abort();
    count += (size_t)part;
  }
  close(ends[0]);
  close(file);
  return process;
}

static void stopHelper(pid_t process) {
  kill(process, SIGTERM);
  waitpid(process, NULL, 0);
}

/* Runs the request and frees it; whether it ended with the status and a text that contains this. */
static bool ends(blindfold_request* request, int status, const char* text) {
  const blindfold_outcome* outcome = blindfold_wait(request);
  const bool matches = outcome->status == status && strstr(outcome->text, text) != NULL &&
                       strlen(outcome->text) == outcome->length;
  if (!matches) fprintf(stderr, "ended with %d: %s\n", outcome->status, outcome->text);
  blindfold_request_free(request);
  return matches;
}

struct heard {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  int count;
  int status;
  char text[256];
  blindfold_request* freed; /* by the callback, unless null */
};

static void hear(void* context, const blindfold_outcome* outcome) {
  struct heard* heard = context;
  pthread_mutex_lock(&heard->lock);
  ++heard->count;
  heard->status = outcome->status;
  snprintf(heard->text, sizeof heard->text, "%s", outcome->text);
  blindfold_request_free(heard->freed);
  pthread_cond_signal(&heard->changed);
  pthread_mutex_unlock(&heard->lock);
}

static void awaitCall(struct heard* heard) {
  pthread_mutex_lock(&heard->lock);
  while (heard->count == 0) pthread_cond_wait(&heard->changed, &heard->lock);
  pthread_mutex_unlock(&heard->lock);
}

static void testOperations(void) {
  const pid_t process = startHelper("");
  blindfold_client* client = blindfold_client_create_for(true, service, helper);
  EXPECT(client != NULL);
  EXPECT(ends(blindfold_current_state(client), BLINDFOLD_SUCCEEDED, "\"mode\":\"idle\""));
  EXPECT(ends(blindfold_detect(client), BLINDFOLD_SUCCEEDED, "\"kind\":\"builtIn\""));
  EXPECT(ends(blindfold_hold_built_in(client), BLINDFOLD_SUCCEEDED, "\"success\":true"));
  EXPECT(ends(blindfold_renew(client, "no lease"), BLINDFOLD_SUCCEEDED, "\"success\":false"));
  EXPECT(ends(blindfold_release(client, NULL), BLINDFOLD_SUCCEEDED, "Hold released."));
  EXPECT(ends(blindfold_hold(client, "{}"), BLINDFOLD_INVALID_ARGUMENT, "cameraID"));
  EXPECT(ends(blindfold_restore_all(client), BLINDFOLD_SUCCEEDED, "Nothing was held."));
  EXPECT(ends(blindfold_mute_microphones(client), BLINDFOLD_SUCCEEDED, "muted"));
  EXPECT(ends(blindfold_unmute_microphones(client), BLINDFOLD_SUCCEEDED, "unmuted"));
  blindfold_client_free(client);
  stopHelper(process);
}

static void testFailures(void) {
  blindfold_client* client = blindfold_client_create_for(true, service, helper);
  EXPECT(ends(blindfold_current_state(client), BLINDFOLD_HELPER_UNREACHABLE,
              "Protection service is unavailable."));
  blindfold_client_free(client);
  client = blindfold_client_create_for(true, service, "/nonexistent");
  EXPECT(ends(blindfold_current_state(client), BLINDFOLD_HELPER_NOT_INSTALLED,
              "Protection service is not set up."));
  blindfold_client_free(client);
  client = blindfold_client_create_for(false, service, helper);
  EXPECT(ends(blindfold_current_state(client), BLINDFOLD_UNAUTHORIZED_CLIENT, "not authorized"));
  blindfold_client_free(client);
  const pid_t process = startHelper(
      "currentState: reply {}\ndetectTargets: reply {\"cameras\":[],"
      "\"notes\":[],\"resolvedTargets\":[],\"serviceStates\":[]}\n");
  client = blindfold_client_create_for(true, service, helper);
  EXPECT(ends(blindfold_current_state(client), BLINDFOLD_TRANSPORT, "mode"));
  EXPECT(ends(blindfold_hold_built_in(client), BLINDFOLD_NOTHING_TO_HOLD, "No camera detected."));
  blindfold_client_free(client);
  stopHelper(process);
}

static void testNull(void) {
  EXPECT(blindfold_current_state(NULL) == NULL);
  EXPECT(blindfold_detect(NULL) == NULL);
  EXPECT(blindfold_hold_built_in(NULL) == NULL);
  EXPECT(blindfold_hold(NULL, NULL) == NULL);
  EXPECT(blindfold_renew(NULL, NULL) == NULL);
  EXPECT(blindfold_release(NULL, NULL) == NULL);
  EXPECT(blindfold_restore_all(NULL) == NULL);
  EXPECT(blindfold_mute_microphones(NULL) == NULL);
  EXPECT(blindfold_unmute_microphones(NULL) == NULL);
  EXPECT(blindfold_wait(NULL)->status == BLINDFOLD_INVALID_ARGUMENT);
  EXPECT(!blindfold_start(NULL, hear, NULL));
  blindfold_request_cancel(NULL);
  blindfold_request_free(NULL);
  blindfold_client_free(NULL);

  blindfold_client* client = blindfold_client_create(true);
  EXPECT(client != NULL);
  EXPECT(ends(blindfold_hold(client, NULL), BLINDFOLD_INVALID_ARGUMENT, "invalid JSON"));
  blindfold_client_free(client);
}

static void testCallbacks(void) {
  const pid_t process = startHelper("");
  blindfold_client* client = blindfold_client_create_for(true, service, helper);

  struct heard heard = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, -1, "", NULL};
  blindfold_request* request = blindfold_current_state(client);
  EXPECT(blindfold_start(request, hear, &heard));
  awaitCall(&heard);
  EXPECT(heard.status == BLINDFOLD_SUCCEEDED);
  EXPECT(!blindfold_start(request, hear, &heard));
  EXPECT(blindfold_wait(request)->status == BLINDFOLD_INVALID_ARGUMENT);
  blindfold_request_free(request);
  EXPECT(heard.count == 1);

  struct heard freeing = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, -1, "", NULL};
  pthread_mutex_lock(&freeing.lock);
  freeing.freed = blindfold_current_state(client);
  EXPECT(blindfold_start(freeing.freed, hear, &freeing));
  pthread_mutex_unlock(&freeing.lock);
  awaitCall(&freeing);
  EXPECT(freeing.count == 1);

  request = blindfold_current_state(client);
  EXPECT(blindfold_start(request, NULL, NULL));
  usleep(20000);
  blindfold_request_free(request);

  blindfold_client_free(client);
  stopHelper(process);
}

struct waiting {
  blindfold_request* request;
  sem_t begun;
};

static void* waitFor(void* context) {
  struct waiting* waiting = context;
  sem_post(&waiting->begun);
  return (void*)blindfold_wait(waiting->request);
}

static void testCancelling(void) {
  const pid_t process = startHelper("currentState: silent\n");
  blindfold_client* client = blindfold_client_create_for(true, service, helper);

  struct heard heard = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, -1, "", NULL};
  blindfold_request* request = blindfold_current_state(client);
  EXPECT(blindfold_start(request, hear, &heard));
  blindfold_client_free(client);
  usleep(20000);
  blindfold_request_free(request);
  usleep(20000);
  EXPECT(heard.count == 0);

  client = blindfold_client_create_for(true, service, helper);
  request = blindfold_current_state(client);
  struct waiting waiting = {.request = request};
  sem_init(&waiting.begun, 0, 0);
  pthread_t thread;
  pthread_create(&thread, NULL, waitFor, &waiting);
  sem_wait(&waiting.begun);
  usleep(20000);
  blindfold_request_cancel(request);
  void* outcome = NULL;
  pthread_join(thread, &outcome);
  EXPECT(((const blindfold_outcome*)outcome)->status == BLINDFOLD_CANCELLED);
  blindfold_request_free(request);
  blindfold_client_free(client);
  stopHelper(process);
}

int main(void) {
  alarm(60);
  testNull();
  testFailures();
  testOperations();
  testCallbacks();
  testCancelling();
  EXPECT(strlen(blindfold_version()) > 0);
  return failures == 0 ? 0 : 1;
}
