// What a display shows, as pictures that follow each other.
import { Changing } from "./api.js";
import { kNotices } from "./connection.js";
import { element, setNotice } from "./dom.js";
import { Poll } from "./poll.js";

const kMovingMs = 1000 / 30;
const kStillMs = 250;
const kMovesForMs = 500; // after a new one, another is expected
const kCalmMs = 1000; // for those who want little motion, and after a failure
const kWidthStep = 160;
const kMostWide = 3840;
const calm = matchMedia("(prefers-reduced-motion: reduce)");

/** Follows a display while it is on the screen and there is a service. */
export class Picture {
    #path;
    #image;
    #mark = element("span", { className: "mark", hidden: true });
    #problem = element("span", { className: "no-picture", hidden: true });
    #pictures = new Changing();
    #size = { width: 16, height: 9 };
    #changedAt = 0;
    #isSeen = false;
    #isConnected = false;
    #isEnded = false;
    #poll = new Poll(() => this.#next(), false);
    #observer = new IntersectionObserver((entries) => this.#setSeen(entries.at(-1).isIntersecting));

    constructor(voPort) {
        this.#path = `/displays/${voPort}.jpg`;
        this.#image = element("img", { alt: `What display ${voPort} shows` });
        this.node = element("span", { className: "picture" }, this.#image, this.#problem, this.#mark);
        this.#observer.observe(this.node);
    }

    set connected(isConnected) {
        this.#isConnected = isConnected;
        this.#poll.wanted = this.#isSeen && isConnected;
    }

    #setSeen(isSeen) {
        this.#isSeen = isSeen;
        this.connected = this.#isConnected;
    }

    /** Follows the display's mode. */
    set size({ width, height }) {
        if (width && height) {
            this.#size = { width, height };
            this.node.style.setProperty("--ratio", width / height);
        }
    }

    /** Marks a part of the display, or none if it is null. */
    set mark(rect) {
        this.#mark.hidden = !rect;
        const place = { left: rect?.x / this.#size.width, top: rect?.y / this.#size.height,
            width: rect?.width / this.#size.width, height: rect?.height / this.#size.height };
        for (const [name, part] of Object.entries(rect ? place : {})) {
            this.#mark.style[name] = `${part * 100}%`;
        }
    }

    /** The width that fills the place on this screen, in steps so that few sizes are drawn. */
    get #width() {
        const pixels = Math.max(1, this.node.clientWidth * devicePixelRatio);
        return Math.min(kMostWide, Math.ceil(pixels / kWidthStep) * kWidthStep);
    }

    async #next() {
        const began = performance.now();
        try {
            const response = await this.#pictures.get(`${this.#path}?width=${this.#width}`);
            if (response) {
                this.#changedAt = began;
                await this.#show(await response.blob());
            } else if (began - this.#changedAt > kMovesForMs) {
                return kStillMs;
            }
            setNotice(this.#problem, null);
        } catch (failure) {
            this.#pictures.forget();
            setNotice(this.#problem, failure.kind in kNotices ? null : failure.message);
            return kCalmMs;
        }
        return calm.matches ? kCalmMs : Math.max(0, kMovingMs - (performance.now() - began));
    }

    async #show(blob) {
        if (this.#isEnded) {
            return;
        }
        const before = this.#image.src;
        this.#image.src = URL.createObjectURL(blob);
        try {
            await this.#image.decode();
        } finally {
            URL.revokeObjectURL(before);
        }
    }

    end() {
        this.#isEnded = true;
        this.#observer.disconnect();
        this.#poll.end();
        URL.revokeObjectURL(this.#image.src);
    }
}
