// Resetting the device, which asks first.
import { steerAloud } from "./announce.js";
import { byId } from "./dom.js";

export function showReset() {
    const dialog = byId("reset-dialog");
    byId("reset").addEventListener("click", () => {
        dialog.returnValue = "";
        dialog.showModal();
    });
    dialog.addEventListener("close", () => {
        if (dialog.returnValue === "reset") {
            steerAloud("The device has been reset", "reset");
        }
    });
}
