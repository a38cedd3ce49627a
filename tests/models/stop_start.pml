/* The hand-shake of a capture: how grab threads are started, begin and end a recording, fail, and are stopped.
 *
 * What the model keeps of src/capture (grab_threads, grab_loop, grab_roles): the flags that threads share, who
 * writes them, and in which order. What it leaves out: time, pictures, the ring's wrap, and the limits after which a
 * wait gives up; here every wait blocks, so that one which only a limit would end shows as a deadlock.
 *
 * Checked for one to four cameras, at most one of which fails at any moment:
 *   - no state in which somebody waits for ever;
 *   - whoever carries out a stop finds every other thread gone when it stops the cameras;
 *   - every thread is gone when the operator's side goes on;
 *   - no camera counts a frame of a recording whose mark is not published, and each counts from the mark on;
 *   - a stop that is asked for never ends behind what camera 0 has, nor makes a recording longer;
 *   - each camera that is done was counted once, and has all frames of the recording, also of one that a stop has
 *     shortened or a failure has broken.
 *
 * With -DPLANTED=1..9 one line of the protocol is broken; each must be found.
 */

#ifndef CAMERAS
#define CAMERAS 2
#endif
#ifndef FRAMES
#define FRAMES 3 /* that a camera delivers before it falls silent */
#endif
#ifndef PLANTED
#define PLANTED 0
#endif
#ifndef STARTS
#define STARTS 1
#endif

#ifndef TARGET
#define TARGET 2
#endif
#ifdef FAILING
#define MAY_FAIL(c) (c == FAILING) /* for a search in parts, one for each camera that may fail */
#else
#define MAY_FAIL(c) true
#endif
#define MARGIN 1 /* frames that are counted beyond the target */
#define IDLE -100 /* a camera that is behind the mark has a negative count */
#define NONE 255
#define OPERATOR CAMERAS

mtype = { Stopped, Starting, Running, Stopping };

mtype phase = Stopped;
bool stopWanted, capturing, stoppingFlag;
bool grabRun[CAMERAS], leave[CAMERAS], threadEnded[CAMERAS], alive[CAMERAS];

bool recording, startRequest, stopRequest;
byte startMark, stopMark, target, doneCameras;
byte endFrame[CAMERAS];
short count[CAMERAS];
bool done[CAMERAS], doneCounted[CAMERAS];

byte living; /* threads */
short shortest; /* of whoever carries out a stop: one at a time */
bool failed; /* one camera at most */
bool broken; /* the recording is kept as far as every camera came */

#define LEAVING(c) (leave[c] || !grabRun[c])

/* Waits for every thread but its own. */
inline OthersGone(self)
{
    if
    :: PLANTED == 2 || self == OPERATOR -> living == 0
    :: else -> living == 1
    fi
}

/* A recording that is broken off is what every camera has of it. */
inline KeepBrokenRecording(i)
{
    if
    :: broken ->
        atomic {
            broken = false;
            recording = false;
            shortest = target;
            i = 0;
            do
            :: i < CAMERAS ->
                shortest = (count[i] < shortest -> count[i] : shortest);
                i++
            :: else -> break
            od;
            i = 0
        }
        if
        :: shortest >= 1 ->
            if
            :: PLANTED == 7 -> skip
            :: else -> target = shortest
            fi;
            do
            :: i < CAMERAS ->
                atomic {
                    if
                    :: !done[i] ->
                        done[i] = true;
                        if
                        :: PLANTED == 8 -> skip
                        :: else -> doneCameras++
                        fi
                    :: else -> skip
                    fi;
                    i++
                }
            :: else ->
                i = 0;
                break
            od
        :: else -> skip
        fi;
        shortest = 0
    :: else -> skip
    fi
}

/* self: a camera's thread, or the operator's side */
inline StopGrab(self, i)
{
    bool carries = false;
    atomic {
        if
        :: phase == Stopping -> skip
        :: phase != Stopping && self != OPERATOR && phase == Starting -> stopWanted = true
        :: phase != Stopping && !(self != OPERATOR && phase == Starting) ->
            if
            :: capturing ->
                phase = Stopping;
                carries = true
            :: else -> skip
            fi
        fi
    }
    if
    :: carries ->
        capturing = false;
        stoppingFlag = true;
        i = 0;
        do
        :: i < CAMERAS ->
            atomic {
                grabRun[i] = false;
                leave[i] = true;
                i++
            }
        :: else ->
            i = 0;
            break
        od;
        OthersGone(self);
        KeepBrokenRecording(i);
        stoppingFlag = false;
        atomic {
            i = 0;
            do
            :: i < CAMERAS ->
                assert(i == self || !alive[i]);
                i++
            :: else -> break
            od;
            i = 0
        }
        recording = false;
        phase = Stopped
    :: else ->
        if
        :: self == OPERATOR -> phase != Stopping
        :: else -> skip
        fi
    fi;
    if
    :: self == OPERATOR -> OthersGone(self)
    :: else -> skip
    fi
}

inline ResetRecordCounters(i)
{
    atomic {
        i = 0;
        do
        :: i < CAMERAS ->
            count[i] = IDLE;
            done[i] = false;
            i++
        :: else -> break
        od;
        i = 0
    }
    startMark = NONE;
    stopMark = NONE;
    doneCameras = 0;
    recording = true;
    startRequest = false;
    stopRequest = false
}

/* A frame that arrived: the first behind the mark begins the recording, and each is counted. */
inline CountFrame(c)
{
    if
    :: recording && count[c] == IDLE && (startMark != NONE || PLANTED == 6) ->
        assert(startMark != NONE);
        count[c] = endFrame[c] - startMark;
        doneCounted[c] = false
    :: else -> skip
    fi;
    if
    :: !done[c] && endFrame[c] < FRAMES ->
        if
        :: count[c] != IDLE -> count[c]++
        :: else -> skip
        fi;
        endFrame[c]++
    :: else -> skip
    fi;
    assert(count[c] == IDLE || count[c] == endFrame[c] - startMark)
}

inline CountDone(c)
{
    if
    :: !done[c] && count[c] >= target + MARGIN ->
        done[c] = true;
        if
        :: !doneCounted[c] ->
            doneCounted[c] = true;
            doneCameras++;
            if
            :: PLANTED == 5 -> doneCameras++
            :: else -> skip
            fi;
            assert(doneCameras <= CAMERAS)
        :: else -> skip
        fi
    :: else -> skip
    fi
}

#define EVERYBODY_DONE (doneCameras > 0 && doneCameras >= CAMERAS)
#define DELIVERS(c) (endFrame[c] < FRAMES || done[c])
/* Camera 0 does not answer any more. */
#define LEFT_ALONE(c) (LEAVING(c) || stoppingFlag || threadEnded[0])

/* The loop of camera 0: it turns the requests into marks. */
proctype Master()
{
    byte i;
    do
    :: LEAVING(0) -> break
    :: else ->
        if
        :: EVERYBODY_DONE ->
            recording = false;
            stopRequest = false;
            break
        :: !EVERYBODY_DONE && !recording && startRequest -> ResetRecordCounters(i)
        :: else -> skip
        fi;
        /* the fetch: a stop wakes it */
        if
        :: LEAVING(0) -> break
        :: !LEAVING(0) && DELIVERS(0) -> skip
        :: atomic { !LEAVING(0) && !failed && MAY_FAIL(0) -> failed = true }; goto fails
        fi;
        atomic {
            if
            :: recording && count[0] == IDLE && startMark == NONE -> startMark = endFrame[0]
            :: else -> skip
            fi;
            if
            :: LEAVING(0) -> break
            :: else -> skip
            fi;
            CountFrame(0)
        }
        if
        :: stopRequest && stopMark == NONE ->
            if
            :: !recording || done[0] -> stopRequest = false
            :: else ->
                if
                :: count[0] != IDLE && count[0] >= 1 ->
                    if
                    :: PLANTED == 9 -> skip
                    :: else -> target = (target < count[0] -> target : count[0])
                    fi;
                    atomic {
                        stopMark = endFrame[0];
                        assert(stopMark > startMark && target <= stopMark - startMark && target <= TARGET)
                    }
                :: else -> skip
                fi
            fi
        :: else -> skip
        fi;
        atomic { CountDone(0) }
    od;
    threadEnded[0] = true;
    goto ended;
fails:
    if
    :: recording -> broken = true
    :: else -> skip
    fi;
    threadEnded[0] = true;
    StopGrab(0, i);
    recording = false;
ended:
    if
    :: EVERYBODY_DONE -> StopGrab(0, i)
    :: else -> skip
    fi;
    atomic {
        alive[0] = false;
        living--
    }
}

/* The loop of every other camera. What camera 0 has asked for but not yet marked is waited for. */
proctype Slave(byte c)
{
    byte i;
    do
    :: atomic {
           /* the fetch: a stop wakes it. One step with what follows: until then it looks at what is its own alone. */
           if
           :: LEAVING(c) -> break
           :: !LEAVING(c) && DELIVERS(c) -> skip
           :: !LEAVING(c) && !failed && MAY_FAIL(c) ->
               failed = true;
               goto fails
           fi;
           /* camera 0 turns the request into a recording */
           if
           :: PLANTED == 1 -> recording || !startRequest
           :: else -> LEFT_ALONE(c) || recording || !startRequest
           fi;
           if
           :: LEAVING(c) -> break
           :: else -> skip
           fi;
           CountFrame(c)
       }
       atomic {
           /* camera 0 fixes the end */
           if
           :: PLANTED == 3 -> !(stopRequest && stopMark == NONE)
           :: else -> LEFT_ALONE(c) || !(stopRequest && stopMark == NONE)
           fi;
           CountDone(c)
       }
    od;
    goto gone;
fails:
    if
    :: recording -> broken = true
    :: else -> skip
    fi;
    StopGrab(c, i);
    recording = false;
gone:
    atomic {
        alive[c] = false;
        living--
    }
}

inline StartGrabThreads(i)
{
    OthersGone(OPERATOR);
    atomic {
        phase = Starting;
        stopWanted = false
    }
    stopMark = NONE;
    stopRequest = false;
    broken = false;
    if
    :: PLANTED == 4 -> skip
    :: else -> doneCameras = 0
    fi;
    atomic {
        i = 0;
        do
        :: i < CAMERAS ->
            leave[i] = false;
            grabRun[i] = true;
            endFrame[i] = 0;
            count[i] = IDLE;
            done[i] = false;
            doneCounted[i] = false;
            i++
        :: else -> break
        od;
        i = 0
    }
    target = TARGET;
    startMark = NONE;
    capturing = true;
    do
    :: i < CAMERAS ->
        /* slaves first, then camera 0 */
        atomic {
            threadEnded[CAMERAS - 1 - i] = false;
            alive[CAMERAS - 1 - i] = true;
            living++;
            if
            :: i < CAMERAS - 1 -> run Slave(CAMERAS - 1 - i)
            :: else -> run Master()
            fi;
            i++
        }
    :: else ->
        i = 0;
        break
    od;
    bool owed;
    atomic {
        phase = Running;
        owed = stopWanted;
        stopWanted = false
    }
    if
    :: owed -> StopGrab(OPERATOR, i)
    :: else -> skip
    fi
}

init
{
    byte i, starts;
    do
    :: starts < STARTS ->
        starts++;
        StartGrabThreads(i);
        bool asked = false, ended = false;
        do
        :: !asked ->
            startRequest = true;
            asked = true
        :: asked && !ended ->
            stopRequest = true;
            ended = true
        :: asked && recording -> /* what there is is to be kept */
            broken = true;
            StopGrab(OPERATOR, i);
            break
        :: StopGrab(OPERATOR, i);
            break
        od;
        atomic {
            byte told = 0;
            i = 0;
            do
            :: i < CAMERAS ->
                assert(!alive[i]);
                if
                :: done[i] ->
                    assert(target >= 1 && count[i] >= target);
                    told++
                :: else -> skip
                fi;
                i++
            :: else -> break
            od;
            assert(told == doneCameras);
            i = 0
        }
        assert(!capturing && phase == Stopped && !recording)
    :: else -> break
    od
}
