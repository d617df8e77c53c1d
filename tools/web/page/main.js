// The page of the device: what is shown where.
import { showApplications } from "./applications.js";
import { connect, onState } from "./connection.js";
import { showDisplays } from "./displays.js";
import { byId, setText, whenChanged } from "./dom.js";
import { showFaults } from "./faults.js";
import { showGraph } from "./graph.js";
import { showMessages } from "./messages.js";
import { showPorts } from "./ports.js";
import { showReset } from "./reset.js";
import { showScenario } from "./scenario.js";
import { showState } from "./state.js";
import { takeToken } from "./token.js";

function timeText({ nowMs, due, isStep }) {
    const seconds = `${(nowMs / 1000).toFixed(1)} s`;
    return isStep ? `${seconds}, moved by command, ${due} due` : seconds;
}

function showService() {
    onState(whenChanged((state) => state.service, (service) => {
        setText(byId("service"), `${service.procName}/${service.taskName}, process ${service.process}`);
    }));
    onState(({ time }) => setText(byId("time"), timeText(time)));
}

takeToken();
for (const show of [showService, showReset, showDisplays, showPorts, showFaults, showScenario, showApplications,
    showMessages, showGraph, showState]) {
    show();
}
connect();
