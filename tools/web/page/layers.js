// The layers of a display, and what has placed each.
import { element, setText } from "./dom.js";
import { modeText } from "./ports.js";

const placedByEngine = (scene, layer, inputId) => ({
    request: `SET_VO_SRC outEngNo=${scene.outEngNo} subPic[${layer.subPic}].inputId=${inputId}`,
    field: "outEngNo", number: scene.outEngNo });
const placedByItself = (request, field, number) => ({ request: `${request} ${field}=${number}`, field, number });

// By source: the request, and the number of what its sender owns.
const kPlacedBy = {
    "wallpaper": () => ({ request: "SET_WALLPAPER_INFO" }),
    "default image": (scene) => ({ request: `SET_DEFAULT_IMAGE imageParam1=${scene.voPort}` }),
    "input": (scene, layer) => placedByEngine(scene, layer, layer.inEngNo),
    "decoder": (scene, layer) => placedByEngine(scene, layer, layer.decStmNo),
    "filter window": (scene) => ({ request: `SET_FILTER_WINDOW filterParam=${scene.voPort}` }),
    "overlay": (scene, layer) => placedByItself("SET_OVERLAY_PARAM", "overlayChn", layer.overlayChn),
    "remote pointer": (scene, layer) => placedByItself("MOUSE_CONNECT", "mouseStmNo", layer.mouseStmNo),
    "local pointer": (scene, layer) =>
        placedByItself("SET_LOCAL_MOUSE_PARAM", "localMouseStmNo", layer.localMouseStmNo),
};

/** What has placed a layer, and who, if that is known. */
function placedText(scene, layer, opened) {
    const placed = kPlacedBy[layer.source]?.(scene, layer);
    if (!placed) {
        return "";
    }
    const owner = opened.find(({ field, number }) => field === placed.field && number === placed.number)?.owner;
    return `Placed by ${placed.request}${owner ? ` of ${owner}` : ""}`;
}

function titleOf(layer) {
    const number = layer.inEngNo ?? layer.decStmNo ?? layer.overlayChn ?? layer.mouseStmNo ?? layer.localMouseStmNo;
    return [layer.source, number, layer.name, layer.application, layer.file]
        .filter((part) => part !== undefined).join(" ");
}

function placeOf({ rect }) {
    return rect.width && rect.height ? `${rect.width}x${rect.height} at ${rect.x},${rect.y}` : "";
}

/** The word for whether a layer or display is seen. */
export class Showing {
    node = element("span");

    update(word) {
        setText(this.node, word);
        this.node.className = `showing ${word}`;
    }
}

/** A layer of a display; mark(rect, text) marks it, mark(null) no longer. */
export class LayerView {
    #title = element("span", { className: "layer-title" });
    #place = element("span", { className: "about" });
    #showing = new Showing();
    #button;
    #mark;
    #isMarked = false;
    #layer = null;
    #placed = "";

    constructor(mark) {
        this.#mark = mark;
        const begin = () => this.#setMarked(true);
        const end = () => this.#setMarked(false);
        this.#button = element("button", { type: "button", className: "layer", onmouseenter: begin, onfocus: begin,
            onclick: begin, onmouseleave: end, onblur: end }, this.#title, this.#place, this.#showing.node);
        this.node = element("li", {}, this.#button);
    }

    #setMarked(isMarked) {
        this.#isMarked = isMarked;
        this.#mark(isMarked ? this.#layer.rect : null, this.#placed);
    }

    update({ layer, scene, opened }) {
        this.#layer = layer;
        this.#placed = placedText(scene, layer, opened);
        setText(this.#title, titleOf(layer));
        setText(this.#place, placeOf(layer));
        this.#showing.update(layer.showing);
        this.#button.setAttribute("aria-description", this.#placed);
        if (this.#isMarked) {
            this.#setMarked(true);
        }
    }

    end() {
        if (this.#isMarked) {
            this.#setMarked(false);
        }
    }
}

/** What a display is: its mode, its cable, its engine. */
export function displayText({ plugged, enabled, scene }) {
    return [modeText(scene), plugged ? "plugged" : "unplugged", enabled ? "" : "disabled",
        scene.outEngNo ? `output engine ${scene.outEngNo}` : "no output engine"].filter(Boolean).join(", ");
}
