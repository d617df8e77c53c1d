// Work that is done again and again, and never while the page is hidden.

/** Does work(), which returns in how many milliseconds it is to be done next, while it is wanted. */
export class Poll {
    #work;
    #timer = 0;
    #isRunning = false;
    #isWanted;

    constructor(work, isWanted = true) {
        this.#work = work;
        this.#isWanted = isWanted;
        document.addEventListener("visibilitychange", this.#visibilityChanged);
        if (isWanted) {
            this.wake();
        }
    }

    #visibilityChanged = () => this.wake();

    set wanted(isWanted) {
        if (this.#isWanted !== isWanted) {
            this.#isWanted = isWanted;
            this.wake();
        }
    }

    get #mayRun() {
        return this.#isWanted && !document.hidden;
    }

    /** Does it at once rather than after the pause. */
    wake() {
        clearTimeout(this.#timer);
        if (this.#mayRun && !this.#isRunning) {
            this.#run();
        }
    }

    async #run() {
        this.#isRunning = true;
        let pause = 1000;
        try {
            pause = await this.#work();
        } finally {
            this.#isRunning = false;
            if (this.#mayRun) {
                this.#timer = setTimeout(() => this.#run(), pause);
            }
        }
    }

    end() {
        this.wanted = false;
        document.removeEventListener("visibilitychange", this.#visibilityChanged);
    }
}
