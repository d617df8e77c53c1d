// Rules of what goes wrong.
import { steer } from "./api.js";
import { announce, steerAloud } from "./announce.js";
import { completed } from "./combobox.js";
import { onState, stateNow } from "./connection.js";
import { List, byId, element, setNotice, setText, whenChanged } from "./dom.js";
import { wordsOf } from "./words.js";

function times(count, what) {
    return `${count} ${what}${count === 1 ? "" : what.endsWith("h") ? "es" : "s"}`;
}

function ruleView({ fault }) {
    const rule = element("code");
    const counts = element("span", { className: "about" });
    const remove = element("button", { type: "button", onclick: () =>
        steerAloud(`Fault ${fault} is gone`, "fault", "clear", String(fault)) }, "Remove");
    remove.setAttribute("aria-label", `Remove fault ${fault}`);
    return {
        node: element("li", {}, element("div", { className: "row" }, rule, remove), counts),
        update(entry) {
            setText(rule, entry.rule);
            setText(counts, `${fault}: ${times(entry.matches, "match")}, ${times(entry.hits, "hit")}`);
        },
    };
}

async function add(event) {
    event.preventDefault();
    const rule = byId("rule");
    try {
        const { fault } = await steer("fault", "add", ...wordsOf(rule.value));
        setNotice(byId("rule-problem"), null);
        announce(`Fault ${fault} is set`);
        rule.value = "";
    } catch (failure) {
        setNotice(byId("rule-problem"), failure.message);
    }
    rule.setAttribute("aria-invalid", String(!byId("rule-problem").hidden));
    stateNow();
}

export function showFaults() {
    const list = new List(byId("faults"), (entry) => entry.fault, ruleView);
    onState(whenChanged((state) => state.faults, (faults) => {
        list.update(faults);
        byId("clear-faults").hidden = faults.length === 0;
    }));
    byId("add-fault").addEventListener("submit", add);
    byId("clear-faults").addEventListener("click", () => steerAloud("All faults are gone", "fault", "clear"));
    completed(byId("rule"), (words) => ["fault", "add", ...words]);
}
