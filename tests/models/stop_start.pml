/* The hand-shake of a capture: how grab threads are started, begin and end a recording, fail, and are stopped.
 *
 * What the model keeps of src/capture (grab_threads, grab_loop, grab_roles): the flags that threads share, who
 * writes them, and in which order. What it leaves out: time, pictures, and the limits after which a wait gives
 * up; here every wait blocks, so that one which only a limit would end shows as a deadlock.
 *
 * Checked for one to four cameras, at most one of which fails at any moment:
 *   - no state in which somebody waits for ever;
 *   - whoever carries out a stop finds every other thread gone when it stops the cameras;
 *   - every thread is gone when the operator's side goes on;
 *   - each camera that is done was counted once, and no camera joins a recording before the mark.
 *
 * With -DPLANTED=1..5 one line of the protocol is broken; each must be found.
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

#define TARGET 1
#define MARGIN 1 /* frames that are counted beyond the target */
#define IDLE 255
#define NONE 255
#define OPERATOR CAMERAS

mtype = { Stopped, Starting, Running, Stopping };

mtype phase = Stopped;
bool stopWanted, capturing, stoppingFlag;
bool grabRun[CAMERAS], leave[CAMERAS], threadEnded[CAMERAS], alive[CAMERAS];

bool recording, startRequest, stopRequest;
byte startMark, stopMark, target, doneCameras;
byte endFrame[CAMERAS], count[CAMERAS];
bool done[CAMERAS], doneCounted[CAMERAS];

byte living; /* threads */
bool failed; /* one camera at most */

#define LEAVING(c) (leave[c] || !grabRun[c])

/* Waits for every thread but its own. */
inline OthersGone(self)
{
    if
    :: PLANTED == 2 || self == OPERATOR -> living == 0
    :: else -> living == 1
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

proctype Grab(byte c)
{
    byte i;
    do
    :: LEAVING(c) -> break
    :: !LEAVING(c) ->
        if
        :: c == 0 && doneCameras > 0 && doneCameras >= CAMERAS ->
            recording = false;
            stopRequest = false;
            break
        :: c == 0 && !(doneCameras > 0 && doneCameras >= CAMERAS) && !recording && startRequest ->
            ResetRecordCounters(i)
        :: else -> skip
        fi;
        /* the fetch: a stop wakes it */
        if
        :: LEAVING(c) -> break
        :: !LEAVING(c) && (endFrame[c] < FRAMES || done[c]) -> skip
        :: atomic { !LEAVING(c) && !failed -> failed = true };
            threadEnded[c] = true;
            StopGrab(c, i);
            recording = false;
            break
        fi;
        atomic {
            if
            :: c == 0 && recording && count[0] == IDLE && startMark == NONE -> startMark = endFrame[0]
            :: c > 0 ->
                /* camera 0 turns the request into a recording */
                if
                :: PLANTED == 1 -> recording || !startRequest
                :: else -> LEAVING(c) || stoppingFlag || threadEnded[0] || recording || !startRequest
                fi
            :: else -> skip
            fi;
            if
            :: LEAVING(c) -> break
            :: else -> skip
            fi;
            if
            :: recording && count[c] == IDLE && startMark != NONE && endFrame[c] >= startMark ->
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
            fi
        }
        if
        :: c == 0 && stopRequest && stopMark == NONE ->
            if
            :: !recording || done[0] -> stopRequest = false
            :: else ->
                if
                :: count[0] != IDLE && count[0] >= 1 ->
                    atomic {
                        target = (target < count[0] -> target : count[0]);
                        stopMark = endFrame[0]
                    }
                :: else -> skip
                fi
            fi
        :: else -> skip
        fi;
        atomic {
            if
            :: c > 0 ->
                /* camera 0 fixes the end */
                if
                :: PLANTED == 3 -> !(stopRequest && stopMark == NONE)
                :: else -> LEAVING(c) || stoppingFlag || threadEnded[0] || !(stopRequest && stopMark == NONE)
                fi
            :: else -> skip
            fi;
            if
            :: !done[c] && count[c] != IDLE && count[c] >= target + MARGIN ->
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
    od;
    threadEnded[c] = true;
    if
    :: c == 0 && doneCameras > 0 && doneCameras >= CAMERAS -> StopGrab(c, i)
    :: else -> skip
    fi;
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
            run Grab(CAMERAS - 1 - i);
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
                :: done[i] -> told++
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
