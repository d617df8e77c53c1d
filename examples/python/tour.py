"""Shows a camera on a display, and waits for the first frame.

    veskctl with-device -- python3 tour.py
"""

from __future__ import annotations

import vesk_video as vesk


def list_displays() -> None:
    for info in vesk.VeskVideoGetVoPort(vesk.VeskVideoGetVoCount()):
        port = info.view()
        print(f"display {port.port}: {port.name}, {port.width} x {port.height}")


def start_camera(port: int) -> int:
    engine = vesk.VeskVideoViOpen(viPort=port)
    vesk.VeskVideoViSetParam(engine, vesk.VeskVideoViPortParam(param0=1, param4=-1))
    vesk.VeskVideoViStart(engine)
    return engine


def show(camera: int, display: int) -> int:
    engine = vesk.VeskVideoVoOpen(voPort=display)
    picture = vesk.VeskVideoSubPicParam(inputId=camera)
    vesk.VeskVideoVoSetSrc(engine, vesk.VeskVideoVoMultiPicParam(picNum=1, subPic=[picture]))
    vesk.VeskVideoVoStart(engine)
    return engine


def main() -> None:
    vesk.VeskVideoInit()
    with vesk.Notifications() as notifications:
        list_displays()
        camera = start_camera(port=0)
        display = show(camera, display=0)
        first = notifications.wait_for("DISPLAY_FIRST_FRAME", viPort=0, timeout=5.0)
        print(f"input {first.viPort} is shown on {first.portName}")
        try:
            vesk.VeskVideoVoStart(display)
        except vesk.VeskError as error:
            print(error)
        vesk.VeskVideoVoClose(display)
        vesk.VeskVideoViClose(camera)
    vesk.VeskVideoExit()


if __name__ == "__main__":
    main()
