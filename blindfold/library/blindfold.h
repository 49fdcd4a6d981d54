#ifndef BLINDFOLD_BLINDFOLD_H
#define BLINDFOLD_BLINDFOLD_H

/*
 * The client of Blindfold's privileged helper, for every language that can call C.
 *
 * A client makes requests. A request is run once, either by blindfold_wait, which blocks, or by
 * blindfold_start, which calls back. Its outcome is the JSON text that blindfoldctl prints, or a
 * failure with its description. Nothing is retried, cached or logged.
 *
 * Every function may be called on any thread, accepts null for every pointer, and lets no exception
 * out. Texts are UTF-8; those that are passed in are copied.
 */

#include <stdbool.h>
#include <stddef.h>

/* NOLINTBEGIN(modernize-use-using, readability-identifier-naming): this is C. */

#ifdef __cplusplus
extern "C" {
#endif

/* Exported, even by a library whose other names are hidden. */
#pragma GCC visibility push(default)

/* The helper's client. Owned by whoever made it. */
typedef struct blindfold_client blindfold_client;

/* One request. Owned by whoever made it; it may outlive its client. */
typedef struct blindfold_request blindfold_request;

/* How a request ended. Values are never renumbered. */
enum blindfold_status {
  BLINDFOLD_SUCCEEDED = 0,
  BLINDFOLD_TRANSPORT = 1, /* the system's or the decoder's error; the text is its own */
  BLINDFOLD_HELPER_NOT_INSTALLED = 2,
  BLINDFOLD_HELPER_UNREACHABLE = 3,
  BLINDFOLD_UNAUTHORIZED_CLIENT = 4,
  BLINDFOLD_TIMEOUT = 5,
  BLINDFOLD_INVALID_RESPONSE = 6,
  BLINDFOLD_NOTHING_TO_HOLD = 7,  /* the detection allows no hold of a built-in camera */
  BLINDFOLD_INVALID_ARGUMENT = 8, /* a null request, one that was run before, or no hold request */
  BLINDFOLD_CANCELLED = 9,        /* by blindfold_request_cancel, while it was waited for */
  BLINDFOLD_OUT_OF_MEMORY = 10
};

/* The end of a request. */
typedef struct blindfold_outcome {
  int status;       /* an enum blindfold_status */
  const char* text; /* the result as JSON, or the failure's description; never null */
  size_t length;    /* of text in bytes; a null byte follows it */
} blindfold_outcome;

/*
 * Receives the end of a request. Called once, on a thread of the library's, which it may keep: time
 * limits and other requests do not wait for it. The outcome is valid until it returns. It may call
 * every function, and may cancel or free its own request.
 */
typedef void (*blindfold_callback)(void* context, const blindfold_outcome* outcome);

/* The version of the library: "1.0.9". */
const char* blindfold_version(void);

/*
 * A client with the settings of this process. With skip_precheck its requests go out without asking
 * first whether this program is an authorized client. Null when memory is exhausted. Free it with
 * blindfold_client_free.
 */
blindfold_client* blindfold_client_create(bool skip_precheck);

/*
 * The same, with another service and install path of the helper than the process's settings have: a
 * null one leaves its setting.
 */
blindfold_client* blindfold_client_create_for(bool skip_precheck, const char* mach_service_name,
                                              const char* helper_install_path);

void blindfold_client_free(blindfold_client* client);

/*
 * The operations. Each makes a request that is not run yet; null when the client is null or memory
 * is exhausted. Free it with blindfold_request_free.
 */
blindfold_request* blindfold_current_state(blindfold_client* client);
blindfold_request* blindfold_detect(blindfold_client* client);
/* Detects, then holds the selected built-in camera. */
blindfold_request* blindfold_hold_built_in(blindfold_client* client);
/* Holds what a hold request in JSON says. */
blindfold_request* blindfold_hold(blindfold_client* client, const char* hold_request);
/* A null lease identifier is passed as an empty one. */
blindfold_request* blindfold_renew(blindfold_client* client, const char* lease_id);
/* A null lease identifier releases whatever is held. */
blindfold_request* blindfold_release(blindfold_client* client, const char* lease_id);
blindfold_request* blindfold_restore_all(blindfold_client* client);
blindfold_request* blindfold_mute_microphones(blindfold_client* client);
blindfold_request* blindfold_unmute_microphones(blindfold_client* client);

/*
 * Runs the request and blocks until it has ended. Never null; owned by the request and valid until
 * that is freed.
 */
const blindfold_outcome* blindfold_wait(blindfold_request* request);

/*
 * Runs the request and returns at once; callback, unless null, receives its end with context. Does
 * nothing and returns false when the request is null or was run before, or memory is exhausted.
 */
bool blindfold_start(blindfold_request* request, blindfold_callback callback, void* context);

/*
 * Ends the request at once, if it has not ended. The callback is not called afterwards; when it is
 * running on another thread, its end is waited for.
 */
void blindfold_request_cancel(blindfold_request* request);

/* Cancels the request and frees it. Not while another thread waits for it. */
void blindfold_request_free(blindfold_request* request);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using, readability-identifier-naming) */

#endif
