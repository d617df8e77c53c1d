// Messages as they pass.
import { Failure, get } from "./api.js";
import { completed } from "./combobox.js";
import { onConnection } from "./connection.js";
import { byId, element, setNotice, setText } from "./dom.js";
import { Poll } from "./poll.js";
import { Members } from "./tree.js";
import { wordsOf } from "./words.js";

const kPauseMs = 250;
const kPausedMs = 2000; // messages are kept for those who go on asking
const kForgottenMs = 5000; // after which nobody watches for a page that has not asked
const kAtOnce = 500;
const kRows = 1000;
const kRowHeight = 24; // at most, in pixels

function kindOf({ notification, answer, error }) {
    if (notification) {
        return "notification";
    }
    return error || (answer && answer.result !== 0) ? "refused" : "request";
}

function rowOf({ line, exchange }) {
    const fields = element("div", { className: "branch" });
    const row = element("details", { className: `message ${kindOf(exchange)}` },
        element("summary", {}, line), fields);
    row.addEventListener("toggle", () => row.open && new Members(fields, true).update(exchange), { once: true });
    return row;
}

function noteOf(text) {
    return element("p", { className: "note" }, text);
}

class Messages {
    #box = byId("messages");
    #match = [];
    #after = null; // the newest come first
    #isPaused = false;
    #askedAt = 0;
    #poll;

    constructor() {
        this.#poll = new Poll(() => this.#ask(), false);
        onConnection((isConnected) => {
            this.#poll.wanted = isConnected;
        });
        byId("filter").addEventListener("submit", (event) => this.#setMatch(event));
        byId("match").addEventListener("change", (event) => this.#setMatch(event));
        byId("clear-messages").addEventListener("click", () => this.#box.replaceChildren());
        byId("pause").addEventListener("click", () => this.#turn());
        completed(byId("match"), (words) => ["watch", ...words.slice(0, -1), "--match", words.at(-1)]);
    }

    #turn() {
        this.#isPaused = !this.#isPaused;
        setText(byId("pause"), this.#isPaused ? "Go on" : "Pause");
        this.#poll.wake();
    }

    #setMatch(event) {
        event.preventDefault();
        const match = wordsOf(byId("match").value);
        if (match.join("\n") !== this.#match.join("\n")) {
            this.#match = match;
            this.#after = null;
            this.#box.replaceChildren();
            this.#poll.wake();
        }
    }

    #noteGap() {
        const now = Date.now();
        if (this.#askedAt !== 0 && now - this.#askedAt > kForgottenMs) {
            this.#append([noteOf(`Not watched for ${Math.round((now - this.#askedAt) / 1000)} s`)]);
        }
        this.#askedAt = now;
    }

    async #ask() {
        const match = this.#match;
        const query = new URLSearchParams({ limit: this.#isPaused ? 1 : kAtOnce });
        if (this.#after !== null) {
            query.set("after", this.#after);
        }
        match.forEach((term) => query.append("match", term));
        let answer;
        try {
            answer = await get(`/api/messages?${query}`);
            this.#sayProblem(null);
        } catch (failure) {
            this.#sayProblem(failure instanceof Failure && failure.kind === "usage" ? failure.message : null);
            return 1000;
        }
        if (match !== this.#match) {
            return 0; // meanwhile, others are wanted
        }
        this.#noteGap();
        return this.#isPaused ? kPausedMs : this.#take(answer);
    }

    #take({ messages, next, lost }) {
        const isAnew = next < this.#after; // the server has been started again, and counts from the beginning
        this.#after = isAnew ? null : next;
        const notes = lost > 0 ? [noteOf(`${lost} messages came faster than they were read`)] : [];
        this.#append([...notes, ...messages.slice(-kRows).map(rowOf)]);
        return isAnew || messages.length === kAtOnce ? 0 : kPauseMs;
    }

    /** Adds rows at the end, which stays in view if it is, and drops the oldest. */
    #append(rows) {
        const box = this.#box;
        if (rows.length === 0) {
            return;
        }
        const isAtEnd = box.scrollHeight - box.scrollTop - box.clientHeight < kRowHeight;
        box.append(...rows);
        while (box.childElementCount > kRows) {
            box.firstElementChild.remove();
        }
        if (isAtEnd) {
            box.scrollTop = box.scrollHeight;
        }
    }

    #sayProblem(text) {
        setNotice(byId("match-problem"), text);
        byId("match").setAttribute("aria-invalid", String(text !== null));
    }
}

export function showMessages() {
    new Messages();
}
