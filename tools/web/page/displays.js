// The displays: what they show, and of which layers that consists.
import { announce } from "./announce.js";
import { getBlob } from "./api.js";
import { onConnection, onState } from "./connection.js";
import { List, byId, element, printable, setText, whenChanged } from "./dom.js";
import { LayerView, Showing, displayText } from "./layers.js";
import { openedIn } from "./owners.js";
import { Picture } from "./picture.js";

const kDownloadMs = 10000; // within which a picture has become a file

let isConnected = false;

/** Shows a display as large as the window. */
function enlarge(voPort, size) {
    const picture = new Picture(voPort);
    picture.size = size;
    picture.connected = isConnected;
    byId("large-picture").replaceChildren(picture.node);
    const stopListening = onConnection((isNow) => {
        picture.connected = isNow;
    });
    byId("large").addEventListener("close", () => {
        stopListening();
        picture.end();
        picture.node.remove();
    }, { once: true });
    byId("large").showModal();
}

/** Downloads a display in its full size. */
async function download(event, voPort) {
    event.preventDefault(); // without the token, the link leads nowhere
    try {
        const href = URL.createObjectURL(await getBlob(`/displays/${voPort}.png`));
        element("a", { href, download: `display-${voPort}.png` }).click();
        setTimeout(() => URL.revokeObjectURL(href), kDownloadMs);
    } catch (failure) {
        announce(failure.message, true);
    }
}

class Display {
    #picture;
    #size = {};
    #title = element("h3");
    #showing = new Showing();
    #about = element("p", { className: "about" });
    #placed = element("p", { className: "placed" });
    #layers = element("ol", { className: "layers" });
    #list = new List(this.#layers, (entry, index) => index,
        () => new LayerView((rect, text) => this.#mark(rect, text)));

    constructor(voPort) {
        this.#picture = new Picture(voPort);
        this.#layers.setAttribute("aria-label", `Layers of display ${voPort}, from back to front`);
        const enlarging = element("button", { type: "button", className: "enlarge", title: "Enlarge",
            "aria-label": `Enlarge display ${voPort}`, onclick: () => enlarge(voPort, this.#size) },
        this.#picture.node);
        const link = element("a", { href: `/displays/${voPort}.png`, onclick: (event) => download(event, voPort),
            "aria-label": `Download display ${voPort} as PNG` }, "PNG");
        this.node = element("article", {}, element("div", { className: "row" }, this.#title, this.#showing.node,
            link), enlarging, this.#about, this.#layers, this.#placed);
    }

    set connected(isNow) {
        this.#picture.connected = isNow;
    }

    #mark(rect, text) {
        this.#picture.mark = rect;
        setText(this.#placed, rect ? text : "");
    }

    update({ output, opened }) {
        const { scene } = output;
        this.#size = scene;
        this.#picture.size = scene;
        setText(this.#title, `${output.voPort} ${output.name}`);
        this.node.setAttribute("aria-label", printable(`Display ${output.voPort} ${output.name}`));
        this.#showing.update(scene.showing);
        setText(this.#about, displayText(output));
        this.#list.update(scene.layers.map((layer) => ({ layer, scene, opened })));
    }

    end() {
        this.#picture.end();
    }
}

/** What the displays are drawn from; their time is none of it. */
function displaysIn(state) {
    const opened = openedIn(state);
    return state.outputs.map((output) => ({ output: { ...output, scene: { ...output.scene, atMs: 0 } }, opened }));
}

export function showDisplays() {
    const list = new List(byId("displays"), ({ output }) => output.voPort, ({ output }) => {
        const display = new Display(output.voPort);
        display.connected = isConnected;
        return display;
    });
    onConnection((isNow) => {
        isConnected = isNow;
        for (const display of list.views) {
            display.connected = isNow;
        }
    });
    onState(whenChanged(displaysIn, (displays) => list.update(displays)));
}
