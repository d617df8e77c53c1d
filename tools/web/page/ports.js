// Inputs and outputs: their cables and modes.
import { steerAloud } from "./announce.js";
import { onState } from "./connection.js";
import { List, byId, element, setText, whenChanged } from "./dom.js";

const kModes = ["3840x2160@60", "3840x2160@30", "1920x1080@60", "1920x1080@50", "1920x1080@30", "1280x720@60"];

/** A mode as people read it. */
export function modeText({ width, height, fr }) {
    return width ? `${width}x${height} at ${fr} fps` : "";
}

class Port {
    #direction;
    #number;
    #isPlugged = false;
    #name = element("strong");
    #about = element("span", { className: "about" });
    #lamp = element("span", { className: "lamp" });
    #cable = element("button", { type: "button", onclick: () => this.#turn() });
    #mode = element("input", { size: 13, autocomplete: "off", spellcheck: false, required: true });

    constructor(direction, number) {
        this.#direction = direction;
        this.#number = number;
        this.#mode.setAttribute("list", "modes");
        this.#mode.setAttribute("aria-label", `Mode of ${this.#title}, as 1920x1080@60`);
        const form = element("form", { onsubmit: (event) => this.#setMode(event) }, this.#mode,
            element("button", { type: "submit", "aria-label": `Set mode of ${this.#title}` }, "Set"));
        this.node = element("li", {}, element("div", { className: "row" }, this.#lamp, this.#name, this.#cable),
            element("div", { className: "row wrapping" }, this.#about, form));
    }

    get #title() {
        return `${this.#direction} ${this.#number}`;
    }

    update(port) {
        const cable = port.cable ?? port; // a virtual source stands in for what is plugged in
        this.#isPlugged = cable.plugged;
        this.#lamp.className = `lamp ${cable.plugged ? "on" : ""}`;
        setText(this.#name, `${this.#number} ${port.name}`);
        setText(this.#about, [cable.plugged ? modeText(cable) || "plugged" : "unplugged",
            port.enabled ? "" : "disabled", port.virtualSource ? `shows ${port.virtualSource}` : ""]
            .filter(Boolean).join(", "));
        this.#mode.placeholder = cable.width ? `${cable.width}x${cable.height}@${cable.fr}` : kModes[0];
        const act = this.#isPlugged ? "Unplug" : "Plug";
        setText(this.#cable, act);
        this.#cable.setAttribute("aria-label", `${act} ${this.#title}`);
    }

    #turn() {
        const [word, done] = this.#isPlugged ? ["unplug", "is unplugged"] : ["plug", "is plugged in"];
        steerAloud(`${this.#title} ${done}`, word, this.#direction, String(this.#number));
    }

    #setMode(event) {
        event.preventDefault();
        const mode = this.#mode.value.trim();
        const words = this.#isPlugged ? ["mode", this.#direction, String(this.#number), mode]
            : ["plug", this.#direction, String(this.#number), "--mode", mode];
        steerAloud(`${this.#title} has ${mode}`, ...words);
    }
}

function showSide(direction, partOf, numberOf) {
    const list = new List(byId(`${direction}s`), numberOf, (port) => new Port(direction, numberOf(port)));
    onState(whenChanged(partOf, (ports) => list.update(ports)));
}

export function showPorts() {
    document.body.append(element("datalist", { id: "modes" },
        ...kModes.map((mode) => element("option", { value: mode }))));
    showSide("input", (state) => state.inputs, (port) => port.viPort);
    showSide("output", (state) => state.outputs.map(({ scene, ...port }) => port), (port) => port.voPort);
}
