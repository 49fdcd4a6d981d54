/* One request, from its start to its outcome, with everything that may end it at the same time.
 *
 * The names are those of blindfold/helperclient: SingleOutcome (complete, abandon, armTimeLimit,
 * setConnection, resume, take), PendingRequest (start) and StartedTask::Run (runPiece, giveUp).
 * Each step between two takings of a lock is one atomic step of a thread.
 *
 * Checked: at most one outcome; the caller is resumed once, or never when it gave up; the caller's
 * coroutine is not touched after its end; an ended request has cancelled its time limit and
 * invalidated its connection; no run ends with a thread that waits for ever.
 *
 * EVENTS is the number of outcomes that may come: reply, proxy error, invalidation and interruption
 * are alike, the last is the time-out. IN_PIECES is 1 for a task that was started, whose owner may be
 * on any thread, and 0 for a caller that goes on from the main loop and is destroyed there.
 *
 * BROKEN selects a defect that the checks must find:
 *   1  complete does not look at finished
 *   2  armTimeLimit keeps the time limit of a finished request
 *   3  setConnection keeps the connection of a finished request
 *   4  abandon leaves resumeCaller
 *   5  giveUp does not wait for the piece that runs
 *   6  complete calls the connection's handlers under the lock
 */
#ifndef BROKEN
#define BROKEN 0
#endif
#ifndef EVENTS
#define EVENTS 5
#endif
#ifndef IN_PIECES
#define IN_PIECES 1
#endif

mtype = {nobody, main_piece, resumer, quitter};

/* SingleOutcome */
bool outcomeLock = false;
bool finished = false;
byte outcomes = 0;
bool hasConnection = false;
bool hasTimeLimit = false;
bool hasResumeCaller = true;

/* The platform's objects */
bool connectionIsMade = false;
bool connectionIsInvalid = false;
bool timeLimitIsScheduled = false;
bool timeLimitIsCancelled = false;

/* The executor: posted work runs once */
byte posted = 0;

/* StartedTask::Run */
bool runLock = false;
mtype runner = nobody;
bool isOver = false;

/* The caller's coroutine */
bool coroutineIsThere = true;
bool startIsDone = false;
byte resumptions = 0;
bool gaveUp = false;
byte alive = 0; /* threads that may still call */

inline lock(which) { atomic { !which -> which = true } }
inline unlock(which) { which = false }

/* SingleOutcome::finish, with the lock held. */
inline finish() {
  finished = true;
  if
  :: hasTimeLimit -> hasTimeLimit = false; timeLimitIsCancelled = true
  :: else
  fi;
  if
  :: hasConnection -> connectionIsInvalid = true
  :: else
  fi
}

/* SingleOutcome::complete. */
inline complete(wasFinished) {
  lock(outcomeLock);
  wasFinished = finished;
#if BROKEN == 1
  wasFinished = false;
#endif
  if
  :: wasFinished -> unlock(outcomeLock)
  :: else ->
    outcomes++;
    finish();
#if BROKEN == 6
    lock(outcomeLock); /* the invalidation handler, called at once, completes the request */
#endif
    unlock(outcomeLock);
    posted++
  fi
}

/* A thread of the platform that brings one outcome: possibly, at any time, or never. */
proctype Event(bool isTimeLimit) {
  bool wasFinished;
  if
  :: isTimeLimit ->
    (timeLimitIsScheduled || startIsDone);
    if
    :: timeLimitIsScheduled && !timeLimitIsCancelled -> complete(wasFinished)
    :: timeLimitIsCancelled || !timeLimitIsScheduled
    fi
  :: else ->
    (connectionIsMade || startIsDone);
    if
    :: complete(wasFinished)
    :: skip /* never */
    fi
  fi;
  alive--
}

/* PendingRequest::start, on the thread that awaits. It runs as a piece of the task. */
proctype Start() {
  bool wasFinished;

  /* runPiece */
  lock(runLock);
  if
  :: isOver && IN_PIECES -> unlock(runLock); goto done
  :: else -> runner = main_piece; unlock(runLock)
  fi;

  connectionIsMade = true;

  /* setConnection */
  lock(outcomeLock);
  hasConnection = true;
#if BROKEN != 3
  if
  :: finished -> connectionIsInvalid = true
  :: else
  fi;
#endif
  unlock(outcomeLock);

  /* armTimeLimit */
  timeLimitIsScheduled = true;
  lock(outcomeLock);
  if
#if BROKEN == 2
  :: true -> hasTimeLimit = true
#else
  :: finished -> timeLimitIsCancelled = true
  :: else -> hasTimeLimit = true
#endif
  fi;
  unlock(outcomeLock);

  /* There may be no proxy: the request ends at once. */
  if
  :: complete(wasFinished)
  :: skip
  fi;

  /* endPiece */
  lock(runLock);
  runner = nobody;
  unlock(runLock);
done:
  startIsDone = true;
  alive--
}

/* The executor's thread: runs what complete posts. */
proctype Executor() {
  bool mayResume;
  do
  :: posted > 0 ->
    posted--;

    /* runPiece: one piece at a time */
    atomic { !runLock && runner == nobody -> runLock = true };
    if
    :: isOver && IN_PIECES -> unlock(runLock)
    :: else ->
      runner = resumer;
      unlock(runLock);

      /* SingleOutcome::resume */
      lock(outcomeLock);
      mayResume = hasResumeCaller;
      hasResumeCaller = false;
      unlock(outcomeLock);
      if
      :: mayResume ->
        assert(coroutineIsThere);
        resumptions++;
        assert(resumptions == 1 && finished);
        /* The caller takes the outcome and goes on to its end. */
        lock(outcomeLock);
        assert(outcomes == 1);
        unlock(outcomeLock);
        assert(coroutineIsThere)
      :: else
      fi;

      /* endPiece */
      lock(runLock);
      runner = nobody;
      unlock(runLock)
    fi
  :: posted == 0 && alive == 0 -> break
  od
}

/* The owner of the task, who may give it up at any time. */
proctype Owner() {
  if
  :: skip -> goto done
  :: skip
  fi;

#if !IN_PIECES
  /* On the caller's own thread, which has awaited the request. */
  startIsDone;
#endif

  /* giveUp */
#if BROKEN == 5
  lock(runLock);
#else
  atomic { !runLock && runner == nobody -> runLock = true };
#endif
  isOver = true;
#if !IN_PIECES
  runner = quitter; /* the thread does nothing else meanwhile */
#endif
  unlock(runLock);
  gaveUp = true;

  /* The coroutine is destroyed, and with it PendingRequest: abandon. */
  lock(outcomeLock);
#if BROKEN != 4
  hasResumeCaller = false;
#endif
  if
  :: finished
  :: else -> finish()
  fi;
  unlock(outcomeLock);
  coroutineIsThere = false;
#if !IN_PIECES
  runner = nobody;
#endif
done:
  alive--
}

init {
  byte event;
  atomic {
    alive = EVENTS + 2;
    for (event : 1 .. EVENTS - 1) { run Event(false) }
    run Event(true);
    run Start();
    run Owner();
    run Executor()
  }
  /* Every thread has ended. */
  (_nr_pr == 1);
  assert(outcomes <= 1);
  assert(!finished || !hasConnection || connectionIsInvalid);
  assert(!finished || !timeLimitIsScheduled || timeLimitIsCancelled || outcomes == 1);
  assert(gaveUp || resumptions == outcomes);
  assert(!hasTimeLimit || !finished);
  assert(!outcomeLock && !runLock && runner == nobody)
}
