// How pictures run through the device, while somebody looks at it.
import { Changing, getText } from "./api.js";
import { onState } from "./connection.js";
import { byId, element } from "./dom.js";
import { Poll } from "./poll.js";

const kPauseMs = 1000;
// What the graph is drawn from; counters and the time pass by without a change of it.
const kPassing = new Set(["atMs", "statistics", "notificationsSent", "keyFrames"]);
const kParts = ["service", "inputs", "inputEngines", "outputs", "outputEngines", "display", "encoders", "decoders",
    "loops", "overlays", "remoteMice", "localMice", "uvcStreams"];

function keyOf(state) {
    return JSON.stringify(kParts.map((part) => state[part]),
        (name, value) => (kPassing.has(name) ? undefined : value));
}

class Graph {
    #details = byId("graph");
    #image = element("img", { alt: "Sources, engines, channels and displays, and the pictures that run between them",
        hidden: true });
    #text = element("pre", { hidden: true });
    #graphs = new Changing();
    #key = "";
    #drawn = null;

    constructor() {
        this.#details.append(element("div", { className: "scroll paper", tabIndex: 0, role: "region",
            "aria-label": "Graph" }, this.#image, this.#text));
        const poll = new Poll(() => this.#draw(), false);
        this.#details.addEventListener("toggle", () => {
            poll.wanted = this.#details.open;
        });
        onState((state) => {
            this.#key = this.#details.open || this.#key === "" ? keyOf(state) : this.#key;
        });
    }

    async #draw() {
        const key = this.#key;
        if (key !== this.#drawn) {
            try {
                const response = await this.#graphs.get("/api/graph.svg");
                if (response) {
                    this.#showImage(await response.blob());
                }
            } catch {
                await this.#showText();
            }
            this.#drawn = key;
        }
        return kPauseMs;
    }

    #showImage(blob) {
        const before = this.#image.src;
        this.#image.src = URL.createObjectURL(blob);
        URL.revokeObjectURL(before);
        this.#image.hidden = false;
        this.#text.hidden = true;
    }

    /** Without a program that draws it, the graph is what such a program would be given. */
    async #showText() {
        this.#graphs.forget();
        this.#text.textContent = await getText("/api/graph").catch((failure) => failure.message);
        this.#text.hidden = false;
        this.#image.hidden = true;
    }
}

export function showGraph() {
    new Graph();
}
