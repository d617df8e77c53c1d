// What has become of what somebody did.
import { steer } from "./api.js";
import { byId, setText } from "./dom.js";
import { stateNow } from "./connection.js";

const kShownMs = 6000;
const kFailureMs = 20000;
let timer = 0;

/** Says it at the foot of the page for a while, and to screen readers. */
export function announce(text, isFailure = false) {
    const node = byId("announcement");
    setText(node, text);
    node.classList.toggle("failure", isFailure);
    clearTimeout(timer);
    timer = setTimeout(() => setText(node, ""), isFailure ? kFailureMs : kShownMs);
}

/** Steers the device, and says that it is done, or why not. */
export async function steerAloud(done, ...words) {
    try {
        await steer(...words);
        announce(done);
    } catch (failure) {
        announce(failure.message, true);
    }
    stateNow();
}
