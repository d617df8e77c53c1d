// Scenarios: those that are installed, and the one that runs.
import { get } from "./api.js";
import { announce, steerAloud } from "./announce.js";
import { onConnection, onState } from "./connection.js";
import { List, byId, element, setText, whenChanged } from "./dom.js";

function scenarioView({ name }) {
    const about = element("span", { className: "about" });
    const start = element("button", { type: "button", "aria-label": `Start ${name}`,
        onclick: () => steerAloud(`${name} has started`, "scenario", name) }, "Start");
    return {
        node: element("li", {}, element("div", { className: "row" }, element("strong", {}, name), start), about),
        update: ({ description }) => setText(about, description),
    };
}

function textOf({ steps, waitingForMatch }) {
    if (steps === 0) {
        return "None runs.";
    }
    const waiting = waitingForMatch === 0 ? "" : `; ${waitingForMatch} wait for a message`;
    return `One of ${steps} step${steps === 1 ? "" : "s"} runs${waiting}.`;
}

export function showScenario() {
    const list = new List(byId("scenarios"), (scenario) => scenario.name, scenarioView);
    onConnection((isConnected) => {
        if (isConnected) {
            get("/api/scenarios").then((scenarios) => list.update(scenarios),
                (failure) => announce(failure.message, true));
        }
    });
    onState(whenChanged((state) => state.scenario, (scenario) => {
        setText(byId("scenario"), textOf(scenario));
        byId("end-scenario").hidden = scenario.steps === 0;
    }));
    byId("end-scenario").addEventListener("click", () => steerAloud("The scenario has ended", "scenario", "--end"));
}
