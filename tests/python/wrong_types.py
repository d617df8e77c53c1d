"""What mypy has to find: where it does not, --strict reports the comment as unused."""

import vesk_video as vesk

vesk.VeskVideoVoOpen("1")  # type: ignore[arg-type]
vesk.VeskVideoVoOpen(port=1)  # type: ignore[call-arg]
vesk.VeskVideoVoPortParam(parm0=1)  # type: ignore[call-arg]
vesk.VeskVideoVoPortParam().parm0 = 1  # type: ignore[attr-defined]
vesk.VeskVideoGetVoPort(1)[0].view().nam  # type: ignore[attr-defined]
vesk.VeskVideoSetCallback(lambda: None)  # type: ignore[misc,arg-type]
vesk.VESK_SERVICE_ERR_BUSI  # type: ignore[attr-defined]
vesk.Device().unplug("input", "0")  # type: ignore[arg-type]
