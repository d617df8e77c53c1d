// The state of the device, as it is got again and again, and whether there is one.
import { Changing } from "./api.js";
import { byId, setNotice } from "./dom.js";
import { Poll } from "./poll.js";

const kPauseMs = 250;
const kWaitMs = 1000;

/** What the page says while there is no device, by kind of failure. */
export const kNotices = {
    "no service": (wasThere) =>
        wasThere ? "The service has ended. Waiting for it…" : "There is no service yet. Waiting for it…",
    "timed out": () => "The service does not answer. Waiting for it…",
    "no server": () => "veskctl web has ended. Waiting for it…",
    "no token": () =>
        "This page may not see the device. Open the address that veskctl web has printed; a new one has another.",
};

const listeners = [];
const connectionListeners = new Set();
const states = new Changing();
let isConnected = false;
let wasThere = false;
let poll = null;

/** Calls listener(state) for each state of the device. */
export function onState(listener) {
    listeners.push(listener);
}

/** Calls listener(isConnected) when the service comes or goes, until the function that is returned is called. */
export function onConnection(listener) {
    connectionListeners.add(listener);
    return () => connectionListeners.delete(listener);
}

function setConnected(isNow) {
    if (isNow !== isConnected) {
        isConnected = isNow;
        document.body.classList.toggle("waiting", !isNow);
        connectionListeners.forEach((listener) => listener(isNow));
    }
}

function show(state) {
    wasThere = true;
    setNotice(byId("connection"), null);
    setConnected(true);
    listeners.forEach((listener) => listener(state));
}

async function ask() {
    try {
        const state = await states.getDocument("/api/state");
        if (state) {
            show(state);
        }
        return kPauseMs;
    } catch (failure) {
        states.forget();
        setNotice(byId("connection"), kNotices[failure.kind]?.(wasThere) ?? failure.message);
        setConnected(false);
        return kWaitMs;
    }
}

/** Begins to ask for states. */
export function connect() {
    document.body.classList.add("waiting");
    poll = new Poll(ask);
}

/** Asks for the state at once, as something has just been changed. */
export function stateNow() {
    poll?.wake();
}
