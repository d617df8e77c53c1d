// What has become of what somebody did.
import { steer } from "./api.js";
import { byId, setText } from "./dom.js";
import { stateNow } from "./connection.js";

const kShownMs = 6000;
let timer = 0;

/** Says it at the foot of the page, and to screen readers. What has failed stays until something else is said. */
export function announce(text, isFailure = false) {
    const node = byId("announcement");
    setText(node, text);
    node.classList.toggle("failure", isFailure);
    clearTimeout(timer);
    if (!isFailure) {
        timer = setTimeout(() => setText(node, ""), kShownMs);
    }
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
