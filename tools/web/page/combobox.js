// A text field of a command's words, with a list of what the last word can be.
import { complete } from "./api.js";
import { element } from "./dom.js";
import { typedWordsOf } from "./words.js";

const kTypingPauseMs = 80;
const kShown = 12;

class Combobox {
    #input;
    #commandOf;
    #list;
    #options = [];
    #chosen = -1;
    #timer = 0;
    #asked = 0;

    constructor(input, commandOf) {
        this.#input = input;
        this.#commandOf = commandOf;
        this.#list = element("ul", { id: `${input.id}-completions`, role: "listbox", hidden: true,
            "aria-label": "Completions" });
        input.after(this.#list);
        for (const [name, value] of Object.entries({ role: "combobox", "aria-autocomplete": "list",
            "aria-controls": this.#list.id, "aria-expanded": "false" })) {
            input.setAttribute(name, value);
        }
        input.addEventListener("input", () => this.#askSoon());
        input.addEventListener("keydown", (event) => this.#key(event));
        input.addEventListener("blur", () => this.#close());
    }

    #askSoon() {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.#ask(), kTypingPauseMs);
    }

    async #ask() {
        const number = ++this.#asked;
        const words = typedWordsOf(this.#input.value);
        const completions = await complete(this.#commandOf(words)).catch(() => []);
        if (number === this.#asked && document.activeElement === this.#input) {
            this.#open(completions.filter((completion) => completion !== words.at(-1)).slice(0, kShown));
        }
    }

    #open(completions) {
        if (!this.#list.hidden && JSON.stringify(completions) === JSON.stringify(this.#texts)) {
            return; // what is chosen stays so
        }
        this.#options = completions.map((completion, index) => element("li", {
            id: `${this.#list.id}-${index}`, role: "option", onmousedown: (event) => this.#take(event, index),
        }, completion));
        this.#list.replaceChildren(...this.#options);
        this.#choose(-1);
        this.#show(this.#options.length > 0);
    }

    get #texts() {
        return this.#options.map((option) => option.textContent);
    }

    #show(isOpen) {
        this.#list.hidden = !isOpen;
        this.#input.setAttribute("aria-expanded", String(isOpen));
    }

    #close() {
        clearTimeout(this.#timer);
        ++this.#asked;
        this.#choose(-1);
        this.#show(false);
    }

    #choose(index) {
        this.#chosen = index;
        this.#options.forEach((option, i) => option.setAttribute("aria-selected", String(i === index)));
        this.#input.setAttribute("aria-activedescendant", this.#options[index]?.id ?? "");
        this.#options[index]?.scrollIntoView({ block: "nearest" });
    }

    #take(event, index) {
        event.preventDefault();
        const completion = this.#options[index].textContent;
        const end = /\S*$/.exec(this.#input.value).index;
        this.#input.value = this.#input.value.slice(0, end) + completion + (completion.endsWith("=") ? "" : " ");
        this.#close();
        this.#askSoon();
    }

    #key(event) {
        if (event.key === "ArrowDown" && this.#list.hidden) {
            event.preventDefault();
            this.#ask();
        } else if (event.key === "Enter" && this.#chosen < 0) {
            this.#close(); // also the one that is to come
        } else if (this.#list.hidden) {
            return;
        } else if (event.key === "ArrowDown" || event.key === "ArrowUp") {
            event.preventDefault();
            const count = this.#options.length + 1; // one place is the text itself
            const step = event.key === "ArrowDown" ? 1 : -1;
            this.#choose((this.#chosen + 1 + step + count) % count - 1);
        } else if (event.key === "Escape") {
            event.preventDefault();
            this.#close();
        } else if (event.key === "Enter") {
            this.#take(event, this.#chosen);
        }
    }
}

/** Completes what is typed in a field; commandOf(words) gives the command of which these are the last words. */
export function completed(input, commandOf) {
    new Combobox(input, commandOf);
}
