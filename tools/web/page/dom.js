// Elements of the page, and text in them.

/** The element of that id. */
export function byId(id) {
    return document.getElementById(id);
}

// What ends a line, or changes the order in which characters are shown; names come from anywhere.
const kControl = /[\x00-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g;

function escaped(character) {
    const known = { "\n": "\\n", "\t": "\\t" }[character];
    return known ?? `\\u${character.charCodeAt(0).toString(16).padStart(4, "0")}`;
}

/** A text as one line whose characters are all seen, and stay in their order. */
export function printable(text) {
    return String(text).replace(kControl, escaped);
}

/** Shows a text, and touches the page only if it is another one. */
export function setText(node, text) {
    const shown = printable(text);
    if (node.textContent !== shown) {
        node.textContent = shown;
    }
}

/** Shows a text, or hides the element if there is none. */
export function setNotice(node, text) {
    setText(node, text ?? "");
    node.hidden = !text;
}

/** Makes an element: properties by name, attributes such as "aria-label" too, handlers as onclick. */
export function element(tag, properties = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name in node) {
            node[name] = value;
        } else {
            node.setAttribute(name, value);
        }
    }
    node.append(...children.map((child) => (child instanceof Node ? child : printable(child))));
    return node;
}

/**
 * Keeps the children of an element in step with a list: what stays keeps its element, and so its focus and what is
 * opened in it. make(item) gives a view: { node, update(item) }.
 */
export class List {
    #parent;
    #make;
    #keyOf;
    #views = new Map();

    constructor(parent, keyOf, make) {
        this.#parent = parent;
        this.#keyOf = keyOf;
        this.#make = make;
    }

    get views() {
        return this.#views.values();
    }

    update(items) {
        const views = new Map();
        items.forEach((item, index) => {
            const key = this.#keyOf(item, index);
            const view = this.#views.get(key) ?? this.#make(item, index);
            views.set(key, view);
            view.update(item, index);
        });
        for (const [key, view] of this.#views) {
            if (!views.has(key)) {
                view.end?.();
                view.node.remove();
            }
        }
        let place = this.#parent.firstElementChild;
        for (const { node } of views.values()) {
            if (node === place) {
                place = place.nextElementSibling;
            } else {
                this.#parent.insertBefore(node, place);
            }
        }
        this.#views = views;
    }
}

/** Calls show(part) when the part of the state that it shows is another one than before. */
export function whenChanged(partOf, show) {
    let before;
    return (state) => {
        const part = partOf(state);
        const text = JSON.stringify(part);
        if (text !== before) {
            before = text;
            show(part, state);
        }
    };
}
