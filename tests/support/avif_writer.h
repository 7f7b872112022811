/// \file avif_writer.h
#pragma once
